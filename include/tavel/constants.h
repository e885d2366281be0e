// Shared platform constants: paths, names and labels that every unit of the
// headend software uses. Values are fixed; do not edit them to suit a test
// (tests move the file-system root with TAVEL_ROOT instead).
#ifndef TAVEL_CONSTANTS_H
#define TAVEL_CONSTANTS_H

namespace tavel {
namespace constants {

// --- Device tree and sysfs: module identity ---
inline constexpr char kDtModelPath[] = "/sys/firmware/devicetree/base/tavel/modelo";
inline constexpr char kDtSerialPath[] = "/sys/firmware/devicetree/base/tavel/serial";
inline constexpr char kDtMacFpgaPath[] = "/sys/firmware/devicetree/base/tavel/mac_fpga";
inline constexpr char kDtMacPath[] = "/sys/firmware/devicetree/base/tavel/mac";
inline constexpr char kDtHwVersionPath[] = "/sys/firmware/devicetree/base/tavel/hw_version";
inline constexpr char kDtDatecodePath[] = "/sys/firmware/devicetree/base/tavel/datecode";
inline constexpr char kDetectedSlotPath[] = "/tmp/tavel/detected-slot";
inline constexpr char kFpgaSocModelPath[] = "/sys/class/fpga/fpga0/soc_model";
inline constexpr char kFpgaSocVariantPath[] = "/sys/class/fpga/fpga0/soc_variant";
inline constexpr char kFpgaSocVersionPath[] = "/sys/class/fpga/fpga0/soc_version";
inline constexpr char kHostnamePath[] = "/etc/hostname";
inline constexpr char kCurrentVersionPath[] = "/etc/tavel/version/current_version";
inline constexpr char kBoardIdPath[] = "/proc/driver/board_id";
inline constexpr char kBoardIdVersionLabel[] = "Board Version:";
inline constexpr char kSysClassNetDir[] = "/sys/class/net/";
inline constexpr char kDevDir[] = "/dev/";
inline constexpr char kBaseDevice[] = "/dev/base1";
inline constexpr char kStorageMountPoint[] = "/mnt/storage";
inline constexpr char kRootMountPoint[] = "/";
inline constexpr char kSerialNumberPath[] = "/tavel/conf/tavel_numserie";
inline constexpr char kUpdaterBaseInfoPath[] = "/tmp/tavel/UpdaterTask/base.info";
inline constexpr char kProcStatPath[] = "/proc/stat";

// --- Network interfaces and addresses ---
inline constexpr char kCpuInterface[] = "eth0_cpu";
inline constexpr char kFpgaInterface[] = "eth0_fpga";
inline constexpr char kEth1Interface[] = "eth1";
inline constexpr char kLoopbackInterface[] = "lo";
inline constexpr char kVlan501Interface[] = "eth0.501";
inline constexpr char kMacPlaceholder[] = "XX:XX:XX:XX:XX";
inline constexpr char kDefaultMasterAddress[] = "192.168.1.254";
inline constexpr char kNetworkConfigTool[] = "/usr/bin/tavnet-external-net-config";
// Host name of the master module on the internal network (deployment value)
// and the port of its user-log service.
inline constexpr char kUserLogMasterHost[] = "tavel-master";
inline constexpr int kUserLogMasterPort = 11000;
// The fixed multicast group of the PSI/SI tables.
inline constexpr char kPsisiMulticastAddress[] = "232.0.1.1";
// Backplane addresses of the processor and the FPGA: the query (found on the
// search path) and the addresses used when it gives nothing usable.
inline constexpr char kBackplaneSubnetTool[] = "tavnet-backplane-subnet";
inline constexpr char kBackplaneSubnetQuery[] = "vlan500_ips";
inline constexpr char kDefaultCpuBackplaneAddress[] = "192.168.184.201";
inline constexpr char kDefaultFpgaBackplaneAddress[] = "192.168.184.200";

// --- Model names and labels ---
inline constexpr char kModelKmx410[] = "KMX-410";
inline constexpr char kModelKmx430[] = "KMX-430";
inline constexpr char kModelKmx630[] = "KMX-630";
inline constexpr char kModelPwu160[] = "PWU-160";
inline constexpr char kModelPwuT160[] = "PWU-T160";
inline constexpr char kModelKma120[] = "KMA-120";
inline constexpr char kModelKsr430[] = "KSR-430";
inline constexpr char kPwuHostPrefix[] = "pwu";
inline constexpr char kKmaHostPrefix[] = "kma";
inline constexpr char kSlotHostPrefix[] = "tvl";
inline constexpr char kSlotLabel[] = "tvlslot";
inline constexpr char kRoleMaster[] = "master";
inline constexpr char kRoleSlave[] = "slave";
inline constexpr char kSsuServiceLabel[] = "SSU Service";
inline constexpr char kUnknownPlaceholder[] = "xxx";
inline constexpr char kNoValuePlaceholder[] = "---";
inline constexpr char kOnePlaceholder[] = "1";
inline constexpr char kPlusPlaceholder[] = "+";
inline constexpr char kSvnPlaceholder[] = "svn";
inline constexpr char kOkLabel[] = "OK";
inline constexpr char kFieldSeparator[] = "_::_";
inline constexpr char kVersionV1[] = "v1";
inline constexpr char kVersion1_0[] = "1.0";
inline constexpr char kMakerLabel[] = "TAVEL";

// --- Database files ---
inline constexpr char kConfigLocalDb[] = "/tavel/DB/config_local.sqlite";
inline constexpr char kTempLocalDb[] = "/tmp/tavel/temp_local.sqlite";
inline constexpr char kTempProcesatsDb[] = "/tmp/tavel/temp_procesats.sqlite";
inline constexpr char kConfigProcesatsDb[] = "/tavel/DB/config_procesats.sqlite";
inline constexpr char kConfigGlobalDb[] = "/tavel/DB/config_global.sqlite";
inline constexpr char kTempGlobalDb[] = "/tmp/tavel/temp_global.sqlite";
inline constexpr char kDbTablesDir[] = "/tmp/tavel/BBDDTablas/";

// --- Database table names ---
inline constexpr char kTableEntradas[] = "Entradas";
inline constexpr char kTableInputScan[] = "InputScan";
inline constexpr char kTablePmtData[] = "PMTdata";
inline constexpr char kTableTablasSalida[] = "TablasSalida";
inline constexpr char kTableTablasSalidaActivo[] = "TablasSalidaActivo";
inline constexpr char kTableRemapping[] = "Remapping";
inline constexpr char kTableRPids[] = "rPIDs";
inline constexpr char kTableRSids[] = "rSIDs";
inline constexpr char kTableRedesCabecera[] = "RedesCabecera";
inline constexpr char kTableDiseqc[] = "DISEqC";
inline constexpr char kTableLnbListGlobal[] = "LNBlistGlobal";
inline constexpr char kTableScramblingGlobal[] = "ScramblingGlobal";
inline constexpr char kTableScramblingKeysGlobal[] = "ScramblingKeysGlobal";
inline constexpr char kTablePaisCabecera[] = "PaisCabecera";
inline constexpr char kTableAudioLanguageListGlobal[] = "AudioLanguageListGlobal";
inline constexpr char kTableSapGlobal[] = "SAPGlobal";
inline constexpr char kTableSapGroupGlobal[] = "SAPGroupGlobal";
inline constexpr char kTableIdentificacion[] = "Identificacion";
inline constexpr char kTableChannelMappings[] = "ChannelMappings";
inline constexpr char kTableRedesModulos[] = "RedesModulos";
inline constexpr char kTableRfOutGlobal[] = "rfout_global";
inline constexpr char kTableIpOutGlobal[] = "IPOutGlobal";
inline constexpr char kTableEntradasGlobal[] = "EntradasGlobal";
inline constexpr char kTableNimGlobal[] = "NimGlobal";
inline constexpr char kTableNimCofdmGlobal[] = "NimCOFDMGlobal";
inline constexpr char kTableNimQamGlobal[] = "NimQAMGlobal";
inline constexpr char kTableIptvOttGlobal[] = "IptvOttGlobal";
inline constexpr char kTableServiciosSalidaGlobal[] = "ServiciosSalidaGlobal";
inline constexpr char kTablePidsSalidaGlobal[] = "PIDsSalidaGlobal";
inline constexpr char kTableSalidasLogicasGlobal[] = "SalidasLogicasGlobal";
inline constexpr char kTableRemappingPidsGlobal[] = "RemappingPIDsGlobal";
inline constexpr char kTableRemappingServiciosGlobal[] = "RemappingServiciosGlobal";
inline constexpr char kTableNetworkConfigurationGlobal[] = "networkConfigurationGlobal";
inline constexpr char kTableServiciosEntrada[] = "ServiciosEntrada";
inline constexpr char kTableBitrateBandera[] = "BitrateBandera";
inline constexpr char kTablePidsEntrada[] = "PIDsEntrada";
inline constexpr char kTableIdentificacionEquipo[] = "identificacion_equipo";
inline constexpr char kTableOtaVersion[] = "OTAVersion";
inline constexpr char kTableSsuModuleFirmwareVersion[] = "SSUModuleFirmwareVersion";
inline constexpr char kTableSsuCamFirmwareVersion[] = "SSUCAMFirmwareVersion";

// --- SI tables ---
inline constexpr char kSiTablesDir[] = "/tavel/datosWeb/tablasSI/";
inline constexpr char kNitTableFile[] = "NIT_table";
inline constexpr char kNitTableAuxFile[] = "NIT_table_aux";
inline constexpr char kSdtTableFile[] = "SDT_table";
inline constexpr char kEitTableFile[] = "EIT_table";
inline constexpr char kTotTableFile[] = "TOT_table";
inline constexpr char kNitFilesDir[] = "/tavel/datosWeb/NIT_files/";
inline constexpr char kTotRecoveryCommand[] = "/usr/bin/set_genera_tot.sh &";
inline constexpr char kSiArchivePrefix[] = "DVB_SI_Tables_";
inline constexpr char kSiArchiveSuffix[] = ".zip";
inline constexpr char kTotLabel[] = "TOT";
inline constexpr char kTotConfigFile[] = "/tavel/conf/tot_file";
inline constexpr char kTimeConfigTool[] = "/usr/bin/taveltimecfg";
inline constexpr char kNtpUpdateTool[] = "/usr/bin/tavelntpupdate";
inline constexpr char kTimezoneIdKey[] = "idtimezone";
inline constexpr char kTimezoneCodeKey[] = "codtimezone";
inline constexpr char kTimezoneSubKey[] = "subtimezone";

// --- Set-up wizard and factory reset ---
inline constexpr char kWizardConfigJson[] = "/tmp/tavel/configuracion_cabecera_wizard.json";
inline constexpr char kWizardLogJson[] = "/tmp/tavel/wizard_log.json";
inline constexpr char kWizardModeLabel[] = "Wizard";
inline constexpr char kAdvancedModeLabel[] = "Advanced";
inline constexpr char kResetFactoryTimestampFile[] = "/tavel/conf/reset_factory_timestamp";
inline constexpr char kLastResetFactoryTimestampFile[] = "/tavel/conf/last_reset_factory_timestamp";

// --- Controller flag files ---
inline constexpr char kRestartControllerFlag[] = "/tmp/tavel/Restart_Controlador";
inline constexpr char kStopControllerFlag[] = "/tmp/tavel/Stop_Controlador";
inline constexpr char kControllerStoppedFlag[] = "/tmp/tavel/Controlador_Stopped";
inline constexpr char kControllerUnitLabel[] = "tavel-corvid";
inline constexpr char kQorvaneFeatureLabel[] = "Qorvane";

// --- SAP announcement service ---
inline constexpr char kSapConfigWeb[] = "tavel/datosWeb/SAP/sap.cfg";
inline constexpr char kSapConfigEtc[] = "/etc/sap.cfg";
inline constexpr char kSapRestartCommand[] = "systemctl restart sapserver.service";
inline constexpr char kSapStopCommand[] = "systemctl stop sapserver.service";

// --- Web and installation data ---
// Relative on purpose: the web server resolves it from its own root.
inline constexpr char kModuleJson[] = "tmp/tavel/web/modulejson.json";
inline constexpr char kInstallationPhotosJson[] = "/tavel/datosWeb/json/installationPhotos.json";
inline constexpr char kInstallationPhotosToSendJson[] = "/tavel/datosWeb/json/installationPhotosToSend.json";
inline constexpr char kServerConnectionErrorFlag[] = "/tmp/tavel/serverConnectionError";
inline constexpr char kServerConnectionOkFlag[] = "/tmp/tavel/serverConnectionOk";
inline constexpr char kInstallationDataOkFlag[] = "/tmp/tavel/installationDataOk";
inline constexpr char kHarlowCmUpdatedFlag[] = "/tmp/tavel/harlowCmUpdated";
inline constexpr char kOtaDownloadFwFlag[] = "/tmp/tavel/ota_downloadFw";

// --- Push notifications (HTTP on the loopback interface) ---
inline constexpr char kPushNotificationHost[] = "127.0.0.1";
inline constexpr int kPushNotificationPort = 15002;
inline constexpr char kPushNotificationPath[] = "/api/push";
inline constexpr char kPushEventConfigurationChanged[] = "configurationChanged";
inline constexpr char kPushEventOverview[] = "overview";
inline constexpr char kPushEventInstallationPictures[] = "installationPictures";
inline constexpr char kPushEventChannelMapping[] = "channelMapping";

// --- Regular expressions ---
inline constexpr char kIpv4Regex[] =
    "^((25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9][0-9]|[0-9])\\.){3}(25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9][0-9]|[0-9])$";
inline constexpr char kMacRegex[] = "^([0-9a-fA-F][0-9a-fA-F]:){5}([0-9a-fA-F][0-9a-fA-F])$";

// --- Text ---
inline constexpr char kTargetCharset[] = "UTF-8//TRANSLIT";
// Character table of a DVB text that starts with a printable byte.
inline constexpr char kDefaultCharset[] = "ISO-8859-1";

// Character tables selected by the first byte of a DVB text (0x00..0x1F),
// plus one closing entry that is never selected.
inline constexpr const char* kFirstByteCharsets[33] = {
    "",            "ISO-8859-5",  "ISO-8859-6",  "ISO-8859-7", "ISO-8859-8",   "ISO-8859-9", "ISO-8859-10",
    "ISO-8859-11", "",            "ISO-8859-13", "ISO-8859-14", "ISO-8859-15", "",           "",
    "",            "",            "",            "UTF-16",     "KSC5601-1987", "GB2312",     "BIG-5",
    "UTF-8",       "",            "",            "",           "",             "",           "",
    "",            "",            "",            "",           "NULL"};

// Character tables of the 0x10 selector, indexed by its third byte.
inline constexpr const char* kSelector10Charsets[16] = {
    "",           "ISO-8859-1", "ISO-8859-2", "ISO-8859-3",  "ISO-8859-4", "ISO-8859-5",
    "ISO-8859-6", "ISO-8859-7", "ISO-8859-8", "ISO-8859-9",  "ISO-8859-10", "ISO-8859-11",
    "",           "ISO-8859-13", "ISO-8859-14", "ISO-8859-15"};

// --- Country codes ---
// ISO 3166-1 alpha-3 codes ordered by English short name, as ISO lists them
// (accented letters sort as their base letter).
inline constexpr int kIso3166Alpha3Count = 249;
inline constexpr const char* kIso3166Alpha3Codes[kIso3166Alpha3Count] = {
    "AFG", "ALA", "ALB", "DZA", "ASM", "AND", "AGO", "AIA", "ATA", "ATG", "ARG", "ARM", "ABW", "AUS", "AUT",
    "AZE", "BHS", "BHR", "BGD", "BRB", "BLR", "BEL", "BLZ", "BEN", "BMU", "BTN", "BOL", "BES", "BIH", "BWA",
    "BVT", "BRA", "IOT", "BRN", "BGR", "BFA", "BDI", "CPV", "KHM", "CMR", "CAN", "CYM", "CAF", "TCD", "CHL",
    "CHN", "CXR", "CCK", "COL", "COM", "COD", "COG", "COK", "CRI", "CIV", "HRV", "CUB", "CUW", "CYP", "CZE",
    "DNK", "DJI", "DMA", "DOM", "ECU", "EGY", "SLV", "GNQ", "ERI", "EST", "SWZ", "ETH", "FLK", "FRO", "FJI",
    "FIN", "FRA", "GUF", "PYF", "ATF", "GAB", "GMB", "GEO", "DEU", "GHA", "GIB", "GRC", "GRL", "GRD", "GLP",
    "GUM", "GTM", "GGY", "GIN", "GNB", "GUY", "HTI", "HMD", "VAT", "HND", "HKG", "HUN", "ISL", "IND", "IDN",
    "IRN", "IRQ", "IRL", "IMN", "ISR", "ITA", "JAM", "JPN", "JEY", "JOR", "KAZ", "KEN", "KIR", "PRK", "KOR",
    "KWT", "KGZ", "LAO", "LVA", "LBN", "LSO", "LBR", "LBY", "LIE", "LTU", "LUX", "MAC", "MDG", "MWI", "MYS",
    "MDV", "MLI", "MLT", "MHL", "MTQ", "MRT", "MUS", "MYT", "MEX", "FSM", "MDA", "MCO", "MNG", "MNE", "MSR",
    "MAR", "MOZ", "MMR", "NAM", "NRU", "NPL", "NLD", "NCL", "NZL", "NIC", "NER", "NGA", "NIU", "NFK", "MKD",
    "MNP", "NOR", "OMN", "PAK", "PLW", "PSE", "PAN", "PNG", "PRY", "PER", "PHL", "PCN", "POL", "PRT", "PRI",
    "QAT", "REU", "ROU", "RUS", "RWA", "BLM", "SHN", "KNA", "LCA", "MAF", "SPM", "VCT", "WSM", "SMR", "STP",
    "SAU", "SEN", "SRB", "SYC", "SLE", "SGP", "SXM", "SVK", "SVN", "SLB", "SOM", "ZAF", "SGS", "SSD", "ESP",
    "LKA", "SDN", "SUR", "SJM", "SWE", "CHE", "SYR", "TWN", "TJK", "TZA", "THA", "TLS", "TGO", "TKL", "TON",
    "TTO", "TUN", "TUR", "TKM", "TCA", "TUV", "UGA", "UKR", "ARE", "GBR", "UMI", "USA", "URY", "UZB", "VUT",
    "VEN", "VNM", "VGB", "VIR", "WLF", "ESH", "YEM", "ZMB", "ZWE"};

} // namespace constants
} // namespace tavel

#endif

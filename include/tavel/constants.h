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
inline constexpr char kProcStatPath[] = "/proc/stat";

// --- Network interfaces and addresses ---
inline constexpr char kLoopbackInterface[] = "lo";
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
inline constexpr char kSlotHostPrefix[] = "tvl";
inline constexpr char kMakerLabel[] = "TAVEL";
inline constexpr char kModelKmx410[] = "KMX-410";
inline constexpr char kModelKmx430[] = "KMX-430";
inline constexpr char kModelKmx630[] = "KMX-630";
inline constexpr char kModelKsr430[] = "KSR-430";

// --- SI tables ---
inline constexpr char kSiTablesDir[] = "/tavel/datosWeb/tablasSI/";
inline constexpr char kNitTableFile[] = "NIT_table";
inline constexpr char kNitTableAuxFile[] = "NIT_table_aux";
inline constexpr char kSdtTableFile[] = "SDT_table";
inline constexpr char kEitTableFile[] = "EIT_table";
inline constexpr char kTotTableFile[] = "TOT_table";
inline constexpr char kNitFilesDir[] = "/tavel/datosWeb/NIT_files/";
inline constexpr char kTotRecoveryCommand[] = "/usr/bin/set_genera_tot.sh &";

// --- Text ---
inline constexpr char kTargetCharset[] = "UTF-8//TRANSLIT";

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

} // namespace constants
} // namespace tavel

#endif

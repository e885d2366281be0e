// Tag -> decoder. A new descriptor gets its own source in this directory
// and one line here.
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {

extern const DescriptorDecoder kNetworkNameDecoder, kServiceListDecoder, kStuffingDecoder, kSatelliteDeliveryDecoder,
    kCableDeliveryDecoder, kBouquetNameDecoder, kServiceDecoder, kLinkageDecoder, kShortEventDecoder,
    kExtendedEventDecoder, kComponentDecoder, kCaIdentifierDecoder, kContentDecoder, kParentalRatingDecoder,
    kLocalTimeOffsetDecoder, kTerrestrialDeliveryDecoder, kPrivateDataSpecifierDecoder, kFrequencyListDecoder,
    kDataBroadcastIdDecoder, kCellListDecoder, kDefaultAuthorityDecoder, kExtensionDecoder, kLogicalChannelDecoder,
    kLogicalChannelV2Decoder, kHdSimulcastChannelDecoder;

const DescriptorDecoder* find_descriptor_decoder(unsigned tag)
{
    static const DescriptorDecoder* const kDecoders[] = {
        &kNetworkNameDecoder,         // 0x40
        &kServiceListDecoder,         // 0x41
        &kStuffingDecoder,            // 0x42
        &kSatelliteDeliveryDecoder,   // 0x43
        &kCableDeliveryDecoder,       // 0x44
        &kBouquetNameDecoder,         // 0x47
        &kServiceDecoder,             // 0x48
        &kLinkageDecoder,             // 0x4A
        &kShortEventDecoder,          // 0x4D
        &kExtendedEventDecoder,       // 0x4E
        &kComponentDecoder,           // 0x50
        &kCaIdentifierDecoder,        // 0x53
        &kContentDecoder,             // 0x54
        &kParentalRatingDecoder,      // 0x55
        &kLocalTimeOffsetDecoder,     // 0x58
        &kTerrestrialDeliveryDecoder, // 0x5A
        &kPrivateDataSpecifierDecoder, // 0x5F
        &kFrequencyListDecoder,       // 0x62
        &kDataBroadcastIdDecoder,     // 0x66
        &kCellListDecoder,            // 0x6C
        &kDefaultAuthorityDecoder,    // 0x73
        &kExtensionDecoder,           // 0x7F
        &kLogicalChannelDecoder,      // 0x83 (private)
        &kLogicalChannelV2Decoder,    // 0x87 (private)
        &kHdSimulcastChannelDecoder,  // 0x88 (private)
    };
    for (const DescriptorDecoder* d : kDecoders)
        if (d->tag == tag)
            return d;
    return nullptr;
}

} // namespace decode
} // namespace tavel_si

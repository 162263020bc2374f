#include "mgmt_protocol/RefusalText.h"

#include <algorithm>
#include <array>

#include "mgmt_protocol/MessageLayout.h"
#include "mgmt_protocol/RemoteCallNumbers.h"

namespace mgmt {
namespace {

constexpr int32_t kExists = 2;

constexpr std::array kMeanings = std::to_array<RefusalMeaning>({
    {kAddBinding, kExists, "{} exists already"},
    {kAddBinding, kRefused, "{}: its address or its MAC is bound already, or the daemon is out of memory"},
    {kAddBindingForSnmp, kRefused, "{}: no free row in the binding table"},
    {kCheckBinding, kRefused, "{} does not exist"},
    {kDeleteBinding, kRefused, "{} does not exist"},
    {kDeleteBindingForSnmp, kRefused, "{} has no row in the binding table"},
    {kBindingByAddress, kRefused, "{} does not exist"},
    {kSetGuardMode, kRefused, "{}: a trusted port cannot be guarded; say no dhcpv6-snooping trust first"},
    {kSetPortTrust, kRefused,
     "{}: a port under ipv6-source-guard cannot be trusted; say no ipv6-source-guard first"},
    {kSetPortMaxClients, kRefused, "{}: the limit is above 2048 or the port does not exist"},
    {kSetVlanMaxClients, kRefused, "{}: the limit is above 2048 or the VLAN is not one of 1 to 4094"},
    {kGetGuardMode, kRefused, "{} does not exist"},
    {kPortTrustGet, kRefused, "{} does not exist"},
    {kPortMaxClientsGet, kRefused, "{} does not exist"},
    {kVlanMaxClientsGet, kRefused, "{} is not one of 1 to 4094"},
    {kExemptVlanGet, kRefused, "{} is not one of 0 to 4095"},
    {kSetExemptVlan, kRefused, "{}: the VLAN is not one of 0 to 4095 or its filter was refused"},
    {kConfigureExemptVlans, kRefused, "{}: the switch refused the filter of one of these VLANs"},
    {kDeleteClients, kRefused, "{}: the daemon does not know this kind of selection"},
    {kResetConfig, kRefused, "{} stopped: the exemption of a VLAN could not be released"},
    // The option templates' parse errors, the same for either option.
    {kSetInfoOption, 1, "{}: the template is empty or ends in %"},
    {kSetInfoOption, 2, "{}: a % must be followed by a keyword"},
    {kSetInfoOption, 3, "{}: a run of text between keywords is longer than 64 characters"},
    {kSetInfoOption, 4, "{}: a keyword is unknown or longer than 10 letters"},
    {kSetInfoOption, 5, "{}: a keyword is used twice"},
    {kSetInfoOption, 6, "{}: the template has more fields than the daemon keeps"},
    {kSetInfoOption, 7, "{}: the template does not read back as it was written"},
    {kSetInfoOption, 8, "{}: the daemon has no memory for the template"},
});

// What the platform answers for any call.
constexpr std::array kPlatformMeanings = std::to_array<RefusalMeaning>({
    {0, kWrongArgumentCount,
     "{}: the daemon takes another number of arguments; use the dhcp6snoopingctl of its release"},
    {0, kWrongArgumentSize,
     "{}: an argument has a size the daemon does not take; use the dhcp6snoopingctl of its release"},
    {0, kWrongVersion, "{}: the daemon speaks another version of the management protocol"},
});

std::string filledIn(std::string_view text, std::string_view subject) {
    std::string sentence(text);
    if (const size_t at = sentence.find("{}"); at != std::string::npos) {
        sentence.replace(at, 2, subject);
    }
    return sentence;
}

}  // namespace

std::span<const RefusalMeaning> refusalMeanings() {
    return kMeanings;
}

std::string refusalSentence(uint32_t callNumber, int32_t result, std::string_view subject) {
    const auto matches = [callNumber, result](const RefusalMeaning &meaning) {
        return meaning.callNumber == callNumber && meaning.result == result;
    };
    if (const auto *found = std::ranges::find_if(kMeanings, matches); found != kMeanings.end()) {
        return filledIn(found->text, subject);
    }
    const auto *platform = std::ranges::find(kPlatformMeanings, result, &RefusalMeaning::result);
    if (platform != kPlatformMeanings.end()) {
        return filledIn(platform->text, subject);
    }
    // The filter service's own codes come through the guard mode and the option settings.
    return std::string(subject) + ": refused by the daemon (code " + std::to_string(result) + ")";
}

}  // namespace mgmt

// Options 18 and 37 added to a 300-byte SOLICIT on its way to the server, in the default format and with a
// user-defined template of five keywords, beside the floor of copying and checksumming the same frame.

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "CopyAndChecksumFloor.h"
#include "core/Startup.h"
#include "relay_option/InfoOptionConfig.h"
#include "relay_option/OptionInsertion.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/Switch.h"

namespace {

using namespace switchsim::dhcp6;

constexpr uint32_t kVlan = 10;
constexpr uint32_t kClientPort = 3;
constexpr size_t kFrameSize = 300;
const auto kClient = switchsim::mac("02:00:00:00:00:01");

// A SOLICIT of exactly 300 bytes: client identifier, elapsed time, an IA_NA and padding in an option 99.
BuiltFrame solicitOf300Bytes() {
    const switchsim::Bytes base = join({clientId(duidLl(kClient)), elapsedTime(0), iaNa(1, 0, 0)});
    const size_t headers = buildDhcp6Frame(fromClient(SOLICIT, kClient, base)).bytes.size();
    return buildDhcp6Frame(
        fromClient(SOLICIT, kClient, join({base, option(99, switchsim::Bytes(kFrameSize - headers - 4))})));
}

// The daemon on a switch with options 18 and 37 on, and the SOLICIT as the packet service hands it over.
class OptionSwitch {
  public:
    explicit OptionSwitch(std::string_view interfaceIdTemplate) : built_(solicitOf300Bytes()) {
        dhcp6snoopingStartup("/sbin/dhcp6snooping");
        InfoOptionConfig config{};
        config.interfaceIdEnable = config.remoteIdEnable = 1;
        dhcp6snoopingGlobalDhcp6InfoCfg(SELECT_INTERFACE_ID_ENABLE, &config);
        dhcp6snoopingGlobalDhcp6InfoCfg(SELECT_REMOTE_ID_ENABLE, &config);
        if (!interfaceIdTemplate.empty()) {
            config.interfaceIdFormat = FORMAT_USER_DEFINED;
            std::memcpy(config.interfaceIdValue, interfaceIdTemplate.data(), interfaceIdTemplate.size());
            dhcp6snoopingGlobalDhcp6InfoCfg(SELECT_INTERFACE_ID_FORMAT, &config);
        }
        storage_ = std::make_unique<uint8_t[]>(built_.bytes.size() + 2);
        std::memcpy(storage_.get() + 2, built_.bytes.data(), built_.bytes.size());
    }
    // The settings outlive the switch: the next benchmark must find the options off.
    ~OptionSwitch() {
        InfoOptionConfig defaults{};
        defaults.interfaceIdFormat = FORMAT_DEFAULT;
        dhcp6snoopingGlobalDhcp6InfoCfg(SELECT_INTERFACE_ID_FORMAT, &defaults);
        dhcp6snoopingGlobalDhcp6InfoCfg(SELECT_INTERFACE_ID_ENABLE, &defaults);
        dhcp6snoopingGlobalDhcp6InfoCfg(SELECT_REMOTE_ID_ENABLE, &defaults);
    }
    OptionSwitch(const OptionSwitch &) = delete;
    OptionSwitch &operator=(const OptionSwitch &) = delete;

    // The option stage on the received frame: the length of the frame it hands back, 0 when it drops it.
    uint32_t insert() {
        SnoopPacket packet{
            storage_.get() + 2, static_cast<uint32_t>(built_.bytes.size()), kVlan, kClientPort, {},
            built_.info};
        const SnoopPacket *changed =
            dhcp6snoopingInfoOptionInsert(&packet, built_.info.payloadOffset, kVlan, kClientPort - 1);
        return changed != nullptr ? changed->length : 0;
    }
    // Fails the benchmark unless the last frame grew by `growth` bytes.
    void requireGrowth(benchmark::State &state, uint32_t length, uint32_t growth) const {
        if (length != built_.bytes.size() + growth) {
            state.SkipWithError("the options were not added");
        }
        state.SetItemsProcessed(state.iterations());
    }

  private:
    switchsim::Switch sw_;
    BuiltFrame built_;
    std::unique_ptr<uint8_t[]> storage_;
};

void BM_InsertBothOptionsInTheDefaultFormat(benchmark::State &state) {
    OptionSwitch sim("");
    uint32_t length = 0;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        length = sim.insert();
        benchmark::DoNotOptimize(length);
    }
    sim.requireGrowth(state, length, 6 + 10);  // 18 with 2 bytes, 37 with its enterprise number and 2 bytes
}
BENCHMARK(BM_InsertBothOptionsInTheDefaultFormat);

// Option 18 from "%cvlan-%slot/%subslot/%port-%switchmac" ("0010-1/0/3-005e00530000" and the separators
// make 23 bytes), option 37 in the default format.
void BM_InsertATemplateOfFiveKeywordsAndRemoteId(benchmark::State &state) {
    OptionSwitch sim("%cvlan-%slot/%subslot/%port-%switchmac");
    uint32_t length = 0;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        length = sim.insert();
        benchmark::DoNotOptimize(length);
    }
    sim.requireGrowth(state, length, 4 + 23 + 10);
}
BENCHMARK(BM_InsertATemplateOfFiveKeywordsAndRemoteId);

void BM_FloorCopyAndChecksumOfTheSolicit(benchmark::State &state) {
    const switchsim::Switch sw;
    measureCopyAndChecksum(state, solicitOf300Bytes());
}
BENCHMARK(BM_FloorCopyAndChecksumOfTheSolicit);

}  // namespace

// Options 18 and 37 added to a 300-byte SOLICIT on its way to the server, in the default format and with a
// user-defined template of five keywords, beside the floor of copying and checksumming the same frame.

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "core/Startup.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "relay_option/OptionInsertion.h"
#include "snooping/ClientTable.h"
#include "snooping/Dhcp6Snooping.h"
#include "snooping/SnoopingOnOff.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/Switch.h"

namespace {

using namespace switchsim::dhcp6;

constexpr uint32_t kVlan = 10;
constexpr uint32_t kClientPort = 3;
constexpr size_t kFrameSize = 300;
const auto kServer = switchsim::mac("00:00:5e:00:53:ff");
const auto kClient = switchsim::mac("02:00:00:00:00:01");

// A SOLICIT of exactly 300 bytes: client identifier, elapsed time, an IA_NA and padding in an option 99.
BuiltFrame solicitOf300Bytes() {
    const switchsim::Bytes base = join({clientId(duidLl(kClient)), elapsedTime(0), iaNa(1, 0, 0)});
    const size_t headers = buildDhcp6Frame(fromClient(SOLICIT, kClient, base)).bytes.size();
    return buildDhcp6Frame(
        fromClient(SOLICIT, kClient, join({base, option(99, switchsim::Bytes(kFrameSize - headers - 4))})));
}

class OptionSwitch {
  public:
    explicit OptionSwitch(std::string_view interfaceIdTemplate) : built_(solicitOf300Bytes()) {
        std::vector<uint32_t> ports;
        for (uint32_t port = 1; port <= 24; ++port) {
            ports.push_back(port);
        }
        sw_.addVlan(kVlan, ports);
        sw_.learnMac(kServer, kVlan, 1);
        sw_.keepSentFrames(false);
        dhcp6snoopingStartup("/sbin/dhcp6snooping");
        dhcp6snooping_port_mode(1, 1);
        dhcp6snoopingStart();
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
    ~OptionSwitch() { dhcp6snoopingStop(); }
    OptionSwitch(const OptionSwitch &) = delete;
    OptionSwitch &operator=(const OptionSwitch &) = delete;

    int32_t receive() {
        PktRecvTag tag{};
        tag.vlanId = kVlan;
        tag.portIndex = kClientPort;
        return dhcp6snoopingRegPktProcess(storage_.get() + 2, static_cast<uint32_t>(built_.bytes.size()), tag,
                                          built_.info);
    }
    void requireSent(benchmark::State &state) const {
        if (sw_.sentFrameCount() != static_cast<uint64_t>(state.iterations())) {
            state.SkipWithError("the daemon did not send every frame");
        }
        state.SetItemsProcessed(state.iterations());
    }

  private:
    switchsim::Switch sw_;
    BuiltFrame built_;
    std::unique_ptr<uint8_t[]> storage_;
};

void BM_SolicitOf300BytesGainsBothOptionsInTheDefaultFormat(benchmark::State &state) {
    OptionSwitch sim("");
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(sim.receive());
    }
    sim.requireSent(state);
}
BENCHMARK(BM_SolicitOf300BytesGainsBothOptionsInTheDefaultFormat);

void BM_SolicitOf300BytesGainsATemplateOfFiveKeywordsAndRemoteId(benchmark::State &state) {
    OptionSwitch sim("%cvlan-%slot/%subslot/%port-%switchmac");
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(sim.receive());
    }
    sim.requireSent(state);
}
BENCHMARK(BM_SolicitOf300BytesGainsATemplateOfFiveKeywordsAndRemoteId);

// Floor: copying the same frame and computing its UDP checksum.
void BM_FloorCopyAndChecksumOfTheSolicit(benchmark::State &state) {
    switchsim::Switch sw;
    const BuiltFrame built = solicitOf300Bytes();
    std::vector<uint8_t> copy(built.bytes.size());
    const uint32_t udp = built.info.payloadOffset - 8U;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        std::memcpy(copy.data(), built.bytes.data(), built.bytes.size());
        benchmark::DoNotOptimize(udp6Checksum(copy.data() + 22, copy.data() + 38, copy.data() + udp,
                                              static_cast<uint16_t>(copy.size() - udp)));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FloorCopyAndChecksumOfTheSolicit);

}  // namespace

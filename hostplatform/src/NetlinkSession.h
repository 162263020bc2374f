#pragma once
// The host platform's netlink connection: the first reading of the bridge (its members, their VLANs, the
// forwarding database and the bridge's IPv4 address) and the notices that keep the model current after.

#include <functional>
#include <string>

#include "BridgeModel.h"
#include "NetlinkTranslation.h"

struct mnl_socket;

namespace hostplatform {

class NetlinkSession {
  public:
    NetlinkSession() = default;
    NetlinkSession(const NetlinkSession &) = delete;
    NetlinkSession &operator=(const NetlinkSession &) = delete;
    ~NetlinkSession();

    // Opens both sockets and reads the whole bridge named in `model.name` into `model`. False, with the
    // reason in `error`, when netlink cannot be opened or there is no such bridge.
    bool open(BridgeModel &model, std::string &error);

    // The socket to wait on for notices.
    [[nodiscard]] int noticeDescriptor() const;

    // Reads the notices that are waiting and applies them to `model`; `onLinkChange` hears of every port
    // whose link went up or down. When notices were lost (the socket's buffer overran), the VLANs and the
    // forwarding database are read anew. True when a port may have changed its name, PVID or membership
    // (a link notice, VLANs changed, or notices lost); the MAC table's notices alone answer false.
    bool serveNotices(BridgeModel &model, const std::function<void(LinkChange)> &onLinkChange);

  private:
    // Hands each message of a dump to `each`, once the kernel has sent a whole one that no change
    // interrupted (it is asked for again while one does). False when the dump could not be read.
    bool dump(uint16_t type, uint8_t family, bool withVlans,
              const std::function<void(const nlmsghdr *)> &each);
    // One request and its answer, each message as it comes.
    bool dumpOnce(uint16_t type, uint8_t family, bool withVlans,
                  const std::function<void(const nlmsghdr *)> &each);
    void rereadVlans(BridgeModel &model);
    void rereadFdb(BridgeModel &model);

    mnl_socket *query_ = nullptr;
    mnl_socket *notices_ = nullptr;
    uint32_t sequence_ = 0;
};

}  // namespace hostplatform

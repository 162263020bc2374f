#include "NetlinkSession.h"

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace hostplatform {
namespace {

constexpr int kNoticeBufferBytes = 4 << 20;
// Room for one datagram of a dump or of notices, as netlink usually sends them; a larger one is seen
// before it is read and the room grows to take it whole.
constexpr size_t kReceiveBytes = 32768;
// A dump that the kernel marks as interrupted by a change is asked for again, this many times at most.
constexpr int kDumpAttempts = 8;

int eachMessage(const nlmsghdr *message, void *data) {
    (*static_cast<const std::function<void(const nlmsghdr *)> *>(data))(message);
    return MNL_CB_OK;
}

// Receives one datagram whole into `buffer`, grown first when the datagram is larger.
ssize_t receiveWhole(int descriptor, std::vector<char> &buffer, int flags) {
    const ssize_t size = recv(descriptor, nullptr, 0, MSG_PEEK | MSG_TRUNC | flags);
    if (size < 0) {
        return size;
    }
    if (static_cast<size_t>(size) > buffer.size()) {
        buffer.resize(static_cast<size_t>(size));
    }
    return recv(descriptor, buffer.data(), buffer.size(), flags);
}

}  // namespace

NetlinkSession::~NetlinkSession() {
    for (mnl_socket *socket : {query_, notices_}) {
        if (socket != nullptr) {
            mnl_socket_close(socket);
        }
    }
}

bool NetlinkSession::dump(uint16_t type, uint8_t family, bool withVlans,
                          const std::function<void(const nlmsghdr *)> &each) {
    for (int attempt = 0; attempt < kDumpAttempts; ++attempt) {
        std::vector<std::vector<char>> messages;
        bool interrupted = false;
        if (!dumpOnce(type, family, withVlans, [&](const nlmsghdr *message) {
                interrupted = interrupted || (message->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
                const auto *bytes = reinterpret_cast<const char *>(message);
                messages.emplace_back(bytes, bytes + message->nlmsg_len);
            })) {
            return false;
        }
        // A dump the kernel interrupted may have missed or repeated entries: only a whole one is used.
        if (!interrupted) {
            for (const auto &message : messages) {
                each(reinterpret_cast<const nlmsghdr *>(message.data()));
            }
            return true;
        }
    }
    errno = EAGAIN;
    return false;
}

bool NetlinkSession::dumpOnce(uint16_t type, uint8_t family, bool withVlans,
                              const std::function<void(const nlmsghdr *)> &each) {
    std::vector<char> buffer(kReceiveBytes);
    nlmsghdr *request = mnl_nlmsg_put_header(buffer.data());
    request->nlmsg_type = type;
    request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request->nlmsg_seq = ++sequence_;
    // Every dump here starts with a header whose first byte is the address family.
    auto *generic = static_cast<rtgenmsg *>(mnl_nlmsg_put_extra_header(request, sizeof(ifinfomsg)));
    generic->rtgen_family = family;
    if (withVlans) {
        // Runs of VLANs with the same flags come as one range, not a VLAN each.
        mnl_attr_put_u32(request, IFLA_EXT_MASK, RTEXT_FILTER_BRVLAN_COMPRESSED);
    }
    if (mnl_socket_sendto(query_, request, request->nlmsg_len) < 0) {
        return false;
    }
    const uint32_t portId = mnl_socket_get_portid(query_);
    for (;;) {
        const ssize_t received = receiveWhole(mnl_socket_get_fd(query_), buffer, 0);
        if (received <= 0) {
            return false;
        }
        const int result =
            mnl_cb_run(buffer.data(), static_cast<size_t>(received), sequence_, portId, eachMessage,
                       const_cast<std::function<void(const nlmsghdr *)> *>(&each));
        if (result <= MNL_CB_STOP) {
            return result == MNL_CB_STOP;
        }
    }
}

bool NetlinkSession::open(BridgeModel &model, std::string &error) {
    query_ = mnl_socket_open(NETLINK_ROUTE);
    notices_ = mnl_socket_open(NETLINK_ROUTE);
    const unsigned groups = RTMGRP_LINK | RTMGRP_NEIGH | RTMGRP_IPV4_IFADDR;
    if (query_ == nullptr || notices_ == nullptr || mnl_socket_bind(query_, 0, MNL_SOCKET_AUTOPID) < 0 ||
        mnl_socket_bind(notices_, groups, MNL_SOCKET_AUTOPID) < 0) {
        error = std::string("netlink: ") + std::strerror(errno);
        return false;
    }
    const int noticeBuffer = kNoticeBufferBytes;
    setsockopt(mnl_socket_get_fd(notices_), SOL_SOCKET, SO_RCVBUF, &noticeBuffer, sizeof noticeBuffer);
    // Notices start before the dumps, so nothing that changes in between is missed; applying a notice and a
    // dump entry that say the same thing twice is harmless.
    std::vector<LinkFacts> links;
    if (!dump(RTM_GETLINK, AF_UNSPEC, false, [&](const nlmsghdr *message) {
            if (auto link = readLink(message)) {
                links.push_back(std::move(*link));
            }
        })) {
        error = std::string("netlink: reading the interfaces failed: ") + std::strerror(errno);
        return false;
    }
    const auto bridge =
        std::find_if(links.begin(), links.end(), [&](const LinkFacts &l) { return l.name == model.name; });
    if (bridge == links.end()) {
        error = "there is no interface named " + model.name;
        return false;
    }
    if (!bridge->vlanFiltering) {  // told of bridges alone
        error = model.name + " is not a bridge";
        return false;
    }
    model.ifindex = bridge->ifindex;
    model.mac = bridge->mac.value_or(Mac{});
    model.vlanFiltering = bridge->vlanFiltering.value_or(false);
    std::vector<LinkFacts> members;
    std::copy_if(links.begin(), links.end(), std::back_inserter(members),
                 [&](const LinkFacts &l) { return l.master == model.ifindex; });
    numberPorts(model, std::move(members));
    rereadVlans(model);
    rereadFdb(model);
    dump(RTM_GETADDR, AF_INET, false, [&](const nlmsghdr *message) {
        if (const auto address = readAddress(message)) {
            applyAddress(model, *address);
        }
    });
    return true;
}

int NetlinkSession::noticeDescriptor() const {
    return mnl_socket_get_fd(notices_);
}

void NetlinkSession::rereadVlans(BridgeModel &model) {
    dump(RTM_GETLINK, AF_BRIDGE, true, [&](const nlmsghdr *message) {
        if (const auto vlans = readVlans(message)) {
            applyVlans(model, *vlans);
        }
    });
}

void NetlinkSession::rereadFdb(BridgeModel &model) {
    model.fdb.clear();
    dump(RTM_GETNEIGH, AF_BRIDGE, false, [&](const nlmsghdr *message) {
        if (const auto entry = readFdb(message)) {
            applyFdb(model, *entry);
        }
    });
}

bool NetlinkSession::serveNotices(BridgeModel &model, const std::function<void(LinkChange)> &onLinkChange) {
    std::vector<char> buffer(kReceiveBytes);
    bool linksNoticed = false;
    bool vlansChanged = false;
    bool overrun = false;
    for (;;) {
        const ssize_t received = receiveWhole(noticeDescriptor(), buffer, MSG_DONTWAIT);
        if (received < 0) {
            overrun = overrun || errno == ENOBUFS;
            if (errno != ENOBUFS) {
                break;
            }
            continue;
        }
        const std::function<void(const nlmsghdr *)> each = [&](const nlmsghdr *message) {
            if (const auto link = readLink(message)) {
                linksNoticed = true;
                if (const auto change = applyLink(model, *link)) {
                    onLinkChange(*change);
                }
            } else if (message->nlmsg_type == RTM_NEWLINK) {
                vlansChanged = true;  // a bridge port's notice: its VLANs may have changed
            } else if (const auto entry = readFdb(message)) {
                applyFdb(model, *entry);
            } else if (const auto address = readAddress(message)) {
                applyAddress(model, *address);
            }
        };
        mnl_cb_run(buffer.data(), static_cast<size_t>(received), 0, 0, eachMessage,
                   const_cast<std::function<void(const nlmsghdr *)> *>(&each));
    }
    if (overrun) {
        // What the lost notices said is read anew: links first, so that a port that went down meanwhile is
        // still reported.
        dump(RTM_GETLINK, AF_UNSPEC, false, [&](const nlmsghdr *message) {
            if (const auto link = readLink(message)) {
                if (const auto change = applyLink(model, *link)) {
                    onLinkChange(*change);
                }
            }
        });
        rereadFdb(model);
    }
    if (vlansChanged || overrun) {
        rereadVlans(model);
    }
    return linksNoticed || vlansChanged || overrun;
}

}  // namespace hostplatform

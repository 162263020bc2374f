// The AgentX subagent that serves the MIB module to snmpd, with net-snmp's agent library.

#include "AgentX.h"

// net-snmp's headers must come in this order, its configuration first.
// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <net-snmp/library/large_fd_set.h>
// clang-format on
#include <sys/epoll.h>
#include <syslog.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "ConfigChangeLog.h"
#include "HostLifecycle.h"

namespace hostplatform {
namespace {

using mibengine::MibValue;
using mibengine::Oid;

constexpr char kApplication[] = "dhcp6snooping";
// How often the subagent pings its master, and tries to reach it again while it cannot: the subtree is back
// within this many seconds of snmpd coming back.
constexpr int kPingSeconds = 2;

struct Subagent {
    std::shared_ptr<const mibengine::MibModule> module;
    int events = -1;
    std::set<int> descriptors;  // the subagent's sockets, as the epoll set holds them
    std::string lastLogged;
};

Subagent &subagent() {
    static Subagent agent;
    return agent;
}

Oid oidOf(const netsnmp_variable_list &variable) {
    Oid arcs(variable.name_length);
    std::transform(variable.name, variable.name + variable.name_length, arcs.begin(),
                   [](oid arc) { return static_cast<uint32_t>(arc); });
    return arcs;
}

// The answer a handler gave, as SNMP carries it; false when it gave none.
bool answer(netsnmp_variable_list &variable, const MibValue &value) {
    if (const auto *integer = std::get_if<uint32_t>(&value.content())) {
        const long signedValue = static_cast<int32_t>(*integer);
        return snmp_set_var_typed_value(&variable, ASN_INTEGER, &signedValue, sizeof signedValue) == 0;
    }
    if (const auto *octets = std::get_if<mibengine::Octets>(&value.content())) {
        return snmp_set_var_typed_value(&variable, ASN_OCTET_STR, octets->data(), octets->size()) == 0;
    }
    return false;
}

// The value a set carries, as the object's handler reads it; nothing when its SNMP type is not the
// object's. An integer is carried in 4 bytes, as the handlers expect of an Integer32.
std::optional<MibValue> carried(const netsnmp_variable_list &variable, const MibObjectDescriptor &object) {
    switch (object.syntax) {
        case MIB_SYNTAX_INTEGER:
        case MIB_SYNTAX_ROW_STATUS:
            if (variable.type == ASN_INTEGER) {
                return MibValue::integer(static_cast<uint32_t>(*variable.val.integer));
            }
            break;
        case MIB_SYNTAX_DISPLAY_STRING:
        case MIB_SYNTAX_MAC_ADDRESS:
            if (variable.type == ASN_OCTET_STR) {
                return MibValue::octets(
                    mibengine::Octets(variable.val.string, variable.val.string + variable.val_len));
            }
            break;
        default:
            break;
    }
    return std::nullopt;
}

// The SNMP error for a handler's failure of a test or a set.
int setErrorOf(uint32_t code) {
    switch (code) {
        case mibengine::kMibNoError:
            return SNMP_ERR_NOERROR;
        case mibengine::kMibWrongValue:
        case mibengine::kMibInvalidRange:
            return SNMP_ERR_WRONGVALUE;
        case mibengine::kMibInvalidLength:
        case mibengine::kMibTooBig:
            return SNMP_ERR_WRONGLENGTH;
        case mibengine::kMibNoSuchInstance:
        case mibengine::kMibNoSuchObject:
        case mibengine::kMibTestFailed:
            return SNMP_ERR_NOCREATION;
        case mibengine::kMibResourceUnavailable:
            return SNMP_ERR_RESOURCEUNAVAILABLE;
        case mibengine::kMibCommitFailed:
        case mibengine::kMibSetFailed:
            return SNMP_ERR_COMMITFAILED;
        default:
            return SNMP_ERR_GENERR;
    }
}

void get(const mibengine::MibModule &module, netsnmp_agent_request_info *info,
         netsnmp_request_info *request) {
    netsnmp_variable_list &variable = *request->requestvb;
    const auto result = mibengine::serve(module, MIB_MODE_GET, oidOf(variable));
    if (result.code != mibengine::kMibNoError || !answer(variable, result.value)) {
        netsnmp_set_request_error(
            info, request,
            result.code == mibengine::kMibNoSuchObject ? SNMP_NOSUCHOBJECT : SNMP_NOSUCHINSTANCE);
    }
}

// A get-next that finds nothing more in the module leaves the request alone, so that the agent goes on
// to the next subtree.
void getNext(const mibengine::MibModule &module, netsnmp_agent_request_info *info,
             netsnmp_request_info *request) {
    netsnmp_variable_list &variable = *request->requestvb;
    const auto result = mibengine::getNext(module, oidOf(variable));
    if (result.code == mibengine::kMibEndOfModule) {
        return;
    }
    const std::vector<oid> arcs(result.oid.begin(), result.oid.end());
    if (result.code != mibengine::kMibNoError ||
        snmp_set_var_objid(&variable, arcs.data(), arcs.size()) != 0 || !answer(variable, result.value)) {
        netsnmp_set_request_error(info, request, SNMP_ERR_GENERR);
    }
}

// One var-bind of a set in its test (`mode` MIB_MODE_TEST) or its set pass: the SNMP error, or none.
int set(const mibengine::MibModule &module, uint32_t mode, const netsnmp_variable_list &variable) {
    const Oid named = oidOf(variable);
    const auto *object = mibengine::objectNamed(module, named);
    if (object == nullptr) {
        return SNMP_ERR_NOCREATION;
    }
    if (object->second.object->access != MIB_ACCESS_READ_WRITE) {
        return SNMP_ERR_NOTWRITABLE;
    }
    const auto value = carried(variable, *object->second.object);
    return value ? setErrorOf(mibengine::serve(module, mode, named, *value).code) : SNMP_ERR_WRONGTYPE;
}

int handleRequests(netsnmp_mib_handler * /*handler*/, netsnmp_handler_registration * /*registration*/,
                   netsnmp_agent_request_info *info, netsnmp_request_info *requests) {
    const auto &module = *subagent().module;
    // A set is a test of every var-bind, then the set of every one, each pass stopping at its first
    // failure, as the simulated switch's agent serves it: snmpd's reserve phase is the test, its action
    // phase the set. A set changes the configuration as a whole, in one logged change.
    std::optional<ConfigChangeLog> change;
    if (info->mode == MODE_SET_ACTION) {
        change.emplace("MIB");
    }
    for (netsnmp_request_info *request = requests; request != nullptr; request = request->next) {
        if (request->processed != 0) {
            continue;
        }
        int error = SNMP_ERR_NOERROR;
        switch (info->mode) {
            case MODE_GET:
                get(module, info, request);
                break;
            case MODE_GETNEXT:
                getNext(module, info, request);
                break;
            case MODE_SET_RESERVE1:
                error = set(module, MIB_MODE_TEST, *request->requestvb);
                break;
            case MODE_SET_ACTION:
                error = set(module, MIB_MODE_SET, *request->requestvb);
                break;
            default:
                break;  // the other phases of a set have nothing to do: the set pass applied it
        }
        if (error != SNMP_ERR_NOERROR) {
            netsnmp_set_request_error(info, request, error);
            break;
        }
    }
    return SNMP_ERR_NOERROR;
}

// net-snmp's own messages go to the system log, each once until another comes: a master that is away
// is told when it goes and when it is back, not at every attempt to reach it again.
int logMessage(int /*major*/, int /*minor*/, void *message, void * /*client*/) {
    const auto *logged = static_cast<const snmp_log_message *>(message);
    std::string text = logged->msg != nullptr ? logged->msg : "";
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) {
        text.pop_back();
    }
    auto &agent = subagent();
    if (!text.empty() && text != agent.lastLogged) {
        logLine(logged->priority, "snmp: " + text);
        agent.lastLogged = text;
    }
    return 0;
}

// Brings the epoll set in line with the subagent's sockets after each call into net-snmp, the only place
// they open and close, so that a socket number it closed and the daemon reused is never taken out.
// Gives the milliseconds until its next timer (-1: none).
int syncDescriptors() {
    auto &agent = subagent();
    netsnmp_large_fd_set readable;
    netsnmp_large_fd_set_init(&readable, FD_SETSIZE);
    int count = 0;
    int noTimeout = 1;
    timeval timeout{};
    snmp_select_info2(&count, &readable, &timeout, &noTimeout);
    std::set<int> now;
    for (int descriptor = 0; descriptor < count; ++descriptor) {
        if (NETSNMP_LARGE_FD_ISSET(descriptor, &readable) != 0) {
            now.insert(descriptor);
        }
    }
    netsnmp_large_fd_set_cleanup(&readable);
    for (const int gone : agent.descriptors) {
        if (!now.contains(gone)) {
            epoll_ctl(agent.events, EPOLL_CTL_DEL, gone, nullptr);
        }
    }
    for (const int added : now) {
        if (!agent.descriptors.contains(added)) {
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.fd = added;
            epoll_ctl(agent.events, EPOLL_CTL_ADD, added, &event);
        }
    }
    agent.descriptors = std::move(now);
    if (noTimeout != 0) {
        return -1;
    }
    const long milliseconds = timeout.tv_sec * 1000L + (timeout.tv_usec + 999) / 1000;
    return static_cast<int>(std::clamp<long>(milliseconds, 0, INT_MAX));
}

Oid commonPrefix(const mibengine::MibModule &module) {
    const Oid &first = module.objects.begin()->first;
    const Oid &last = module.objects.rbegin()->first;
    return {first.begin(), std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first};
}

}  // namespace

void agentxStart(const std::string &socket, std::shared_ptr<const mibengine::MibModule> module) {
    auto &agent = subagent();
    if (agent.module != nullptr || module == nullptr || module->objects.empty()) {
        return;
    }
    agent.module = std::move(module);
    snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, logMessage, nullptr);
    snmp_enable_calllog();
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, socket.c_str());
    // Timers run from the daemon's event wait, never from a signal; the subagent reads no SNMP
    // configuration files and keeps no state of its own on disk.
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
    // A subagent names objects by number alone: it parses no MIB module, which would fill the log with
    // the complaints of modules it cannot find.
    setenv("MIBS", "", 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MIB_ERRORS, 0);
    init_agent(kApplication);
    // Set after init_agent, which sets its own default, and before init_snmp connects.
    netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, kPingSeconds);
    const Oid root = commonPrefix(*agent.module);
    const std::vector<oid> arcs(root.begin(), root.end());
    netsnmp_register_handler(netsnmp_create_handler_registration(kApplication, handleRequests, arcs.data(),
                                                                 arcs.size(), HANDLER_CAN_RWRITE));
    init_snmp(kApplication);
    atStop([] { snmp_shutdown(kApplication); });
}

int agentxWaitLimit(int events) {
    auto &agent = subagent();
    if (agent.module == nullptr) {
        return -1;
    }
    agent.events = events;
    return syncDescriptors();
}

bool agentxServe(int descriptor) {
    auto &agent = subagent();
    if (!agent.descriptors.contains(descriptor)) {
        return false;
    }
    netsnmp_large_fd_set readable;
    netsnmp_large_fd_set_init(&readable, FD_SETSIZE);
    NETSNMP_LARGE_FD_SET(descriptor, &readable);
    snmp_read2(&readable);
    netsnmp_large_fd_set_cleanup(&readable);
    syncDescriptors();
    return true;
}

void agentxRunTimers() {
    if (subagent().module == nullptr) {
        return;
    }
    snmp_timeout();
    run_alarms();
    syncDescriptors();
}

}  // namespace hostplatform

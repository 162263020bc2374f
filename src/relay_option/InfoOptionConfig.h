#pragma once
// The settings of the relay information options 18 (Interface-ID) and 37 (Remote-ID): whether each is added
// to the client messages sent toward the servers, in which format its content is built, and the fixed value
// or the parsed template of that format. The command line reads the whole record and sets one group of
// fields at a time; the record's bytes are also the remote calls' argument, so its layout is fixed.

#include <cstddef>
#include <cstdint>

#include "relay_option/OptionTemplate.h"

inline constexpr uint32_t kOptionValueSize = 129;  // 128 characters and a zero, or an address

// What to do with a client message that carries the option already; any other value replaces it.
enum InfoOptionStrategy : uint32_t {
    STRATEGY_DROP = 1,
    STRATEGY_KEEP = 2,
    STRATEGY_REPLACE = 3,
};

enum InfoOptionFormat : uint32_t {
    FORMAT_IPV4_ADDRESS = 1,
    FORMAT_IPV6_ADDRESS = 2,
    FORMAT_DEFAULT = 3,
    FORMAT_STRING = 4,
    FORMAT_USER_DEFINED = 5,
};

// Which group of fields Set takes from the caller's record; any other value is SELECT_INTERFACE_ID_ENABLE.
enum InfoOptionSelector : uint32_t {
    SELECT_REMOTE_ID_ENABLE = 1,
    SELECT_INTERFACE_ID_ENABLE = 2,
    SELECT_REMOTE_ID_FORMAT = 3,
    SELECT_INTERFACE_ID_FORMAT = 4,
};

extern "C" {

struct InfoOptionConfig {
    uint32_t strategy;
    uint32_t remoteIdEnable;  // 1: add option 37
    uint32_t remoteIdFormat;
    uint8_t remoteIdValue[kOptionValueSize];
    OptionTemplate *remoteIdTemplate;  // only while the format is user-defined and a template was accepted
    uint32_t interfaceIdEnable;        // 1: add option 18
    uint32_t interfaceIdFormat;
    uint8_t interfaceIdValue[kOptionValueSize];
    OptionTemplate *interfaceIdTemplate;
};
static_assert(sizeof(InfoOptionConfig) == 304);
static_assert(offsetof(InfoOptionConfig, remoteIdEnable) == 4);
static_assert(offsetof(InfoOptionConfig, remoteIdFormat) == 8);
static_assert(offsetof(InfoOptionConfig, remoteIdValue) == 12);
static_assert(offsetof(InfoOptionConfig, remoteIdTemplate) == 144);
static_assert(offsetof(InfoOptionConfig, interfaceIdEnable) == 152);
static_assert(offsetof(InfoOptionConfig, interfaceIdFormat) == 156);
static_assert(offsetof(InfoOptionConfig, interfaceIdValue) == 160);
static_assert(offsetof(InfoOptionConfig, interfaceIdTemplate) == 296);

extern InfoOptionConfig infoOptionConfig;

// Copies the whole record. Returns 0.
int32_t dhcp6snoopingGlobalDhcp6InfoGet(InfoOptionConfig *config);
// Takes the fields `selector` names from `config`: an enable, or a format with its value or template. A
// user-defined format keeps its template only when the text parses; a refused text answers its
// TemplateError (1 to 8) with the format set and the earlier template kept. Leaving the user-defined format
// releases the template. Returns 0 otherwise.
int32_t dhcp6snoopingGlobalDhcp6InfoCfg(uint32_t selector, const InfoOptionConfig *config);
}

// The fields of one option, 18 or 37, as one view.
struct InfoOptionFields {
    uint32_t &enable;
    uint32_t &format;
    uint8_t *value;
    OptionTemplate *&storedTemplate;
};
InfoOptionFields interfaceIdFields(InfoOptionConfig &config);
InfoOptionFields remoteIdFields(InfoOptionConfig &config);

// Prints the objects the daemon registers with the MIB agent in the form scripts/check-mib.sh --objects
// prints those of the MIB module's text, "name oid syntax access" in objectId order (which is OID order),
// so that a test can compare the two.

#include <cstdio>
#include <cstring>

#include "mib/MibRegistry.h"

namespace {

const char *syntaxName(uint32_t syntax) {
    return syntax == MIB_SYNTAX_INTEGER          ? "integer"
           : syntax == MIB_SYNTAX_DISPLAY_STRING ? "string"
           : syntax == MIB_SYNTAX_MAC_ADDRESS    ? "mac"
           : syntax == MIB_SYNTAX_ROW_STATUS     ? "rowstatus"
                                                 : "unknown";
}

}  // namespace

int main() {
    for (const MibObjectListEntry *entry = kMibObjectList; entry->group != nullptr; ++entry) {
        const MibObjectDescriptor &object = *entry->object;
        const char *name = std::strchr(object.name, ':');
        std::printf("%s ", name != nullptr ? name + 1 : object.name);
        for (uint32_t arc = 0; arc + 1 < entry->group->oidLength; ++arc) {
            std::printf("%u.", entry->group->oid[arc]);
        }
        std::printf("%u %s %s\n", object.column, syntaxName(object.syntax),
                    object.access == MIB_ACCESS_READ_WRITE ? "read-write" : "read-only");
    }
    return 0;
}

/// "/datafs/snmp.xml": the SNMP agent's settings.
#pragma once

#include <cstdint>

namespace varn::net {

struct SnmpSettings {
    // One byte more than a value has, which may fill its limit without a terminator.
    char access[11] = "";         ///< "RW", "R"
    char default_get[11] = "";    ///< "Enable", "Disable"
    char get_community[257] = ""; ///< 256 bytes at most
    char set_community[257] = "";
};

/// Reads the file; what it does not have stays empty. Returns its size; -1 without one.
int32_t read_snmp(SnmpSettings &settings);
/// Writes the file and restarts the agent.
void write_snmp(const SnmpSettings &settings);

/// A community name as a request has it: "NO SET" is the empty one. Null leaves it alone.
void set_community(char (&name)[257], const char *requested);

} // namespace varn::net

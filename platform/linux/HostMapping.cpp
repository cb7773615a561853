// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Host-name mapping of the Linux platform: lets tools and tests send the module's connections to
// "fritz.box" to a simulator on a local port without touching the system's resolver.
#include <map>
#include <mutex>

#include "AsciiText.h"
#include "LinuxPlatform.h"

namespace {

struct Destination {
    std::string address;
    std::string port;
};

struct MappingTable {
    std::mutex mutex;
    std::map<std::string, Destination> destinations;  // by lower-case "name" "\n" "port"
};

MappingTable& table() {
    static MappingTable mappings;
    return mappings;
}

std::string mappingKey(const std::string& name, const std::string& port) {
    return linux_platform::detail::toLowerAscii(name) + "\n" + port;
}

bool isPortNumber(const std::string& text) {
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    const long port = std::stol(text);
    return port > 0 && port <= 65535;
}

struct MappingText {
    std::string name;
    std::string port;
    std::string address;
    std::string toPort;
};

// Splits "NAME:PORT:ADDRESS:PORT"; the destination is read like any other ADDRESS:PORT.
bool splitMappingText(const std::string& text, MappingText& parts) {
    const std::size_t nameEnd = text.find(':');
    const std::size_t portEnd = nameEnd == std::string::npos ? nameEnd : text.find(':', nameEnd + 1);
    if (portEnd == std::string::npos) {
        return false;
    }
    parts.name = text.substr(0, nameEnd);
    parts.port = text.substr(nameEnd + 1, portEnd - nameEnd - 1);
    return !parts.name.empty() && isPortNumber(parts.port) &&
           linux_platform::parseAddressAndPort(text.substr(portEnd + 1), "", parts.address, parts.toPort);
}

}  // namespace

namespace linux_platform {

bool parseAddressAndPort(const std::string& text, const std::string& defaultPort, std::string& address,
                         std::string& port) {
    std::size_t addressEnd;
    if (text.compare(0, 1, "[") == 0) {
        addressEnd = text.find(']');
        if (addressEnd == std::string::npos) {
            return false;
        }
        address = text.substr(1, addressEnd - 1);
        ++addressEnd;
    } else {
        // An unbracketed IPv6 address cannot be told from ADDRESS:PORT, so it is refused.
        addressEnd = text.find(':');
        if (addressEnd != std::string::npos && text.find(':', addressEnd + 1) != std::string::npos) {
            return false;
        }
        address = text.substr(0, addressEnd);
    }
    if (addressEnd >= text.size()) {
        port = defaultPort;
    } else if (text[addressEnd] == ':') {
        port = text.substr(addressEnd + 1);
    } else {
        return false;
    }
    return !address.empty() && isPortNumber(port);
}

void mapHost(const std::string& name, const std::string& port, const std::string& address, const std::string& toPort) {
    std::lock_guard<std::mutex> lock(table().mutex);
    table().destinations[mappingKey(name, port)] = Destination{address, toPort};
}

bool mapHostFromText(const std::string& text, std::string& error) {
    MappingText parts;
    if (!splitMappingText(text, parts)) {
        error = "host mapping '" + text + "' is not NAME:PORT:ADDRESS:PORT (IPv6 address in brackets)";
        return false;
    }
    mapHost(parts.name, parts.port, parts.address, parts.toPort);
    error.clear();
    return true;
}

void clearHostMappings() {
    std::lock_guard<std::mutex> lock(table().mutex);
    table().destinations.clear();
}

void resolveMappedHost(const std::string& name, const std::string& port, std::string& address, std::string& toPort) {
    std::lock_guard<std::mutex> lock(table().mutex);
    const auto found = table().destinations.find(mappingKey(name, port));
    if (found == table().destinations.end()) {
        address = name;
        toPort = port;
    } else {
        address = found->second.address;
        toPort = found->second.port;
    }
}

}  // namespace linux_platform

// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// What a platform may offer the kit beyond the platform interface: the hooks of a stand-in
// platform or of a firmware's test build. Every hook is optional; one that is not offered returns
// false, and the kit then uses the documented setup instead (a hosts entry and port 80 for the
// router's name, --log-from for the log, --model for the phone model). The kit is linked with
// exactly one adapter source, which defines platformAdapter(): adapters/none.cpp offers nothing,
// adapters/linux.cpp everything the project's Linux platform can do.
#include <string>

namespace conformance {

class Adapter {
public:
    virtual ~Adapter() = default;
    virtual const char* name() const = 0;
    // From now on, connections of this process to `name` port 80 go to `address`:`port`.
    virtual bool mapHost(const std::string& /*name*/, const std::string& /*address*/, int /*port*/) { return false; }
    // From now on, every line the platform writes is also appended to the kit's record.
    virtual bool captureLog() { return false; }
    // The lines recorded since captureLog(), one per line, each with its level and module.
    virtual std::string capturedLog() { return ""; }
    // Makes the platform answer as the phone model `model` (tern, gull, wren, other).
    virtual bool setPhoneModel(const std::string& /*model*/) { return false; }
    // Makes lines up to `level` written from now on.
    virtual bool setLogLevel(int /*level*/) { return false; }
};

Adapter& platformAdapter();

}  // namespace conformance

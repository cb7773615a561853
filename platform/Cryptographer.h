#pragma once
#include <string>

// Message digests of the host platform.
class Cryptographer {
public:
    Cryptographer();
    ~Cryptographer();
    // MD5 of the given bytes as 32 lower-case hexadecimal digits.
    std::string md5(const std::string& data) const;
};

#include "Cryptographer.h"

#include <nettle/md5.h>

#include <cstdint>

Cryptographer::Cryptographer() = default;

Cryptographer::~Cryptographer() = default;

std::string Cryptographer::md5(const std::string& data) const {
    md5_ctx context;
    md5_init(&context);
    md5_update(&context, data.size(), reinterpret_cast<const std::uint8_t*>(data.data()));
    std::uint8_t digest[MD5_DIGEST_SIZE];
    md5_digest(&context, sizeof digest, digest);

    static const char kHexDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * sizeof digest);
    for (const std::uint8_t byte : digest) {
        hex += kHexDigits[byte >> 4];
        hex += kHexDigits[byte & 0x0f];
    }
    return hex;
}

// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Cryptographer.h"

#include <nettle/base16.h>
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

    // Nettle writes lower-case digits, the form the router's login expects.
    std::string hex(BASE16_ENCODE_LENGTH(sizeof digest), '\0');
    base16_encode_update(&hex[0], sizeof digest, digest);
    return hex;
}

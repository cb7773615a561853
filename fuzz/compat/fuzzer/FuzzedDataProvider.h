// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The part of libFuzzer's FuzzedDataProvider the fuzz targets use, for compilers without clang's
// header (the corpus replays): integers are taken from the end of the input, strings and the rest
// from its front, as the original does, so a corpus file splits the same way in both builds.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

class FuzzedDataProvider {
public:
    FuzzedDataProvider(const std::uint8_t* data, std::size_t size) : m_data(data), m_remaining(size) {}

    // Up to `maxLength` bytes; a backslash followed by another ends the string, two backslashes
    // stand for one.
    std::string ConsumeRandomLengthString(std::size_t maxLength) {
        std::string result;
        for (std::size_t i = 0; i < maxLength && m_remaining != 0; ++i) {
            char next = static_cast<char>(take());
            if (next == '\\' && m_remaining != 0) {
                next = static_cast<char>(take());
                if (next != '\\') {
                    break;
                }
            }
            result += next;
        }
        return result;
    }

    std::string ConsumeRemainingBytesAsString() {
        std::string result(reinterpret_cast<const char*>(m_data), m_remaining);
        m_data += m_remaining, m_remaining = 0;
        return result;
    }

    template <typename T>
    T ConsumeIntegralInRange(T min, T max) {
        static_assert(std::is_integral<T>::value, "an integral type");
        const std::uint64_t range = static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(min);
        std::uint64_t result = 0;
        for (std::size_t offset = 0; offset < sizeof(T) * 8 && (range >> offset) > 0 && m_remaining != 0; offset += 8) {
            result = (result << 8) | m_data[--m_remaining];
        }
        if (range != std::numeric_limits<std::uint64_t>::max()) {
            result %= range + 1;
        }
        return static_cast<T>(static_cast<std::uint64_t>(min) + result);
    }

    bool ConsumeBool() { return (ConsumeIntegralInRange<std::uint8_t>(0, 255) & 1) != 0; }

private:
    std::uint8_t take() { return --m_remaining, *m_data++; }

    const std::uint8_t* m_data;
    std::size_t m_remaining;
};

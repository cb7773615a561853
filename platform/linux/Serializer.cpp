// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Field codec of the Linux platform.
//
// A record is a concatenation of fields, each written as
//     <decimal byte count> ":" <bytes>
// for example "3:abc0:5:a;b:c" holds "abc", "" and "a;b:c". The count makes every byte safe
// inside a field: ";", ":", digits, NUL and line breaks included.
//
// With `escape` the field's bytes are escaped first and the count is that of the escaped bytes:
//     backslash -> "\\"   LF -> "\n"   CR -> "\r"   ";" -> "\s"   NUL -> "\0"
// so that the record holds no line break, no ";" and no NUL and can be kept in line-oriented,
// ";"-separated storage.
//
// Reading an empty record yields an empty field. A malformed record (no count, a non-digit in
// the count, a missing ":", a count beyond the end of the record, or an unknown escape) yields an
// empty field and is emptied itself, so every later field comes out empty too: once a count is
// wrong, nothing behind it can be framed reliably.
#include "Serializer.h"

#include <cstdint>

namespace {

struct EscapePair {
    char plain;
    char code;
};

constexpr EscapePair kEscapes[] = {{'\\', '\\'}, {'\n', 'n'}, {'\r', 'r'}, {';', 's'}, {'\0', '0'}};

const EscapePair* findPlain(char c) {
    for (const EscapePair& pair : kEscapes) {
        if (pair.plain == c) {
            return &pair;
        }
    }
    return nullptr;
}

const EscapePair* findCode(char c) {
    for (const EscapePair& pair : kEscapes) {
        if (pair.code == c) {
            return &pair;
        }
    }
    return nullptr;
}

std::string escaped(const std::string& plain) {
    std::string text;
    text.reserve(plain.size());
    for (const char c : plain) {
        const EscapePair* pair = findPlain(c);
        if (pair != nullptr) {
            text += '\\';
            text += pair->code;
        } else {
            text += c;
        }
    }
    return text;
}

bool unescape(const std::string& text, std::string& plain) {
    plain.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            plain += text[i];
            continue;
        }
        const EscapePair* pair = ++i < text.size() ? findCode(text[i]) : nullptr;
        if (pair == nullptr) {
            return false;
        }
        plain += pair->plain;
    }
    return true;
}

// Takes "<count>:<bytes>" off the front of `record`; false (record untouched) when malformed.
bool takeFramedField(std::string& record, std::string& field) {
    const std::size_t colon = record.find(':');
    if (colon == std::string::npos || colon == 0) {
        return false;
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < colon; ++i) {
        const char c = record[i];
        if (c < '0' || c > '9' || count > (SIZE_MAX - 9) / 10) {
            return false;
        }
        count = count * 10 + static_cast<std::size_t>(c - '0');
    }
    const std::size_t start = colon + 1;
    if (count > record.size() - start) {
        return false;
    }
    field.assign(record, start, count);
    record.erase(0, start + count);
    return true;
}

}  // namespace

void Serializer::serialize(std::string& record, const std::string& field, bool escape) {
    const std::string stored = escape ? escaped(field) : field;
    record += std::to_string(stored.size());
    record += ':';
    record += stored;
}

void Serializer::deserialize(std::string& record, std::string& field, bool escape) {
    std::string stored;
    std::string plain;
    if (!takeFramedField(record, stored) || (escape && !unescape(stored, plain))) {
        record.clear();
        field.clear();
        return;
    }
    field = escape ? std::move(plain) : std::move(stored);
}

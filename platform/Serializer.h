// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
#include <string>

// The host's field codec for flat text records. A record is a sequence of fields; serialize
// appends one, deserialize takes the first one off the front. The module writes and reads six
// fields per call record, with `escape` false: every field comes back in order and byte for byte
// whatever it holds (";", ":", leading digits, line breaks, backslashes, NUL, bytes over 0x7f, long
// text), and an empty field is a field, so the positions stay aligned. The records it reads back
// are the host's stored ones and may be damaged: reading them never crashes or reads past the
// end.
class Serializer {
public:
    // Appends `field` to `record`. With `escape` true the field is written so that the record holds
    // no line breaks and no ";" outside the length prefixes.
    static void serialize(std::string& record, const std::string& field, bool escape);
    // Moves the first field of `record` into `field` (with the same `escape` as written). An
    // exhausted or malformed record yields an empty field.
    static void deserialize(std::string& record, std::string& field, bool escape);
};

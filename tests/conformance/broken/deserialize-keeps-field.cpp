// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A deserializer that leaves the field as it was when the record is used up.
#include <string>

#include "Next.h"
#include "Serializer.h"

void Serializer::deserialize(std::string& record, std::string& field, bool escape) {
    using Deserialize = void (*)(std::string&, std::string&, bool);
    static const Deserialize deserialize = nextDefinition<Deserialize>(
        "_ZN10Serializer11deserializeERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_b");
    if (!record.empty()) {
        deserialize(record, field, escape);
    }
}

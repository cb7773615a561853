// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A serializer that ignores the escape flag: a field holding the separator splits in two.
#include <string>

#include "Next.h"
#include "Serializer.h"

void Serializer::serialize(std::string& record, const std::string& field, bool) {
    using Serialize = void (*)(std::string&, const std::string&, bool);
    static const Serialize serialize = nextDefinition<Serialize>(
        "_ZN10Serializer9serializeERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEERKS5_b");
    serialize(record, field, false);
}

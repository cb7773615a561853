// An md5 of the string up to its first NUL byte (the login hashes two bytes a character).
#include <string>

#include "Cryptographer.h"
#include "Next.h"

namespace {
std::string realMd5(const Cryptographer* self, const std::string& data) {
    using Md5 = std::string (*)(const Cryptographer*, const std::string&);
    static const Md5 md5 =
        nextDefinition<Md5>("_ZNK13Cryptographer3md5ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    return md5(self, data);
}
}  // namespace

std::string Cryptographer::md5(const std::string& data) const {
    return realMd5(this, data.c_str());
}

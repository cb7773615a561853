#pragma once
// White-box access to a FritzBox for the conversion benchmarks. The class carries the name of the
// one friend that FritzBox declares; it is the benchmarks' own definition of that friend, so a
// program that includes this header must not also link the module tests' support library.
#include <string>

#include "FritzBox.h"

class FritzBoxTestAccess {
public:
    explicit FritzBoxTestAccess(FritzBox& box) : m_box(box) {}

    void handleCallRecord(std::string& record) { m_box.handleSingleCallLogRecord(record); }
    void handlePhonebookRecord(std::string& record) { m_box.handleSinglePhonebookRecord(record); }

    // A fetch starts with these cleared; without that they would grow across iterations and the
    // duplicate search over the call-log identifiers would get slower with every one.
    void forgetCallLogIds() { m_box.m_callLogIds.clear(); }
    void forgetPhonebook() { m_box.m_phonebookXml.clear(); }

    std::size_t callLogIdCount() const { return m_box.m_callLogIds.size(); }
    std::int32_t phoneBookSize() const { return m_box.m_phoneBookSize; }

private:
    FritzBox& m_box;
};

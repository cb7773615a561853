// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The host's call-log items: one item per remote party and call family, each with the list of
// the individual calls (call infos) that belong to it.
//
// Everything here is inline: the module reads and writes the host's items at the offsets these
// definitions give, and creates items and call infos itself, so the firmware's definitions must
// match these member for member (docs/integration.md, "The binary interface"); the std::list and
// std::string members come from the one libstdc++ both sides share, never in debug mode. The
// items the module creates carry its own copy of the vtable and typeinfo: the host must not
// unload the module while it holds any. The members the module does not write keep the defaults
// given here.
#include <cstdint>
#include <list>
#include <string>

// One call. The six text members are declared in this order on purpose: record codecs name them
// by position (second: the remote number, sixth: the call time).
struct CallInfo {
    std::string callId;             // 1: the platform's identifier of the call
    std::string remoteNumber;       // 2: the other party's number
    std::string remoteName;         // 3: the other party's name as signalled
    std::string lineId;             // 4: the local line that carried the call
    std::string duration;           // 5: the call's length in seconds
    std::string callTime;           // 6: when the call happened, as an ISO 8601 stamp
    std::int32_t callInfoMode = 0;  // how the call is shown: 0 unset, 1 local, 2 network log
};

// How a call time is shown.
struct TimeFormat {
    bool use24HourClock = true;
};

// Who passed a call on before it reached this phone.
struct Redirecting {
    std::string redirectingNumber;
    std::string redirectingName;
};

// The virtual destructor is the items' only virtual function, and the firmware's may have no
// other: the items the module builds have the module's vtable.
class CallItem {
public:
    virtual ~CallItem() = default;

    const std::string& getSurname() const { return m_surname; }
    void setSurname(const std::string& surname) { m_surname = surname; }
    const std::string& getFirstName() const { return m_firstName; }
    void setFirstName(const std::string& firstName) { m_firstName = firstName; }
    const std::string& getEntryId() const { return m_entryId; }
    void setEntryId(const std::string& entryId) { m_entryId = entryId; }
    const std::string& getUniqueId() const { return m_uniqueId; }
    void setUniqueId(const std::string& uniqueId) { m_uniqueId = uniqueId; }

private:
    std::string m_surname;
    std::string m_firstName;
    std::string m_entryId;
    std::string m_uniqueId;
};

class CallItemWithPicture : public CallItem {
public:
    const std::string& getPicturePath() const { return m_picturePath; }
    void setPicturePath(const std::string& picturePath) { m_picturePath = picturePath; }

private:
    std::string m_picturePath;
};

class MissedCallItem : public CallItemWithPicture {
public:
    struct MissedCallInfo : CallInfo {};

    bool getViewed() const { return m_viewed; }
    void setViewed(bool viewed) { m_viewed = viewed; }
    const std::list<MissedCallInfo>& getMissedCallInfoList() const { return m_callInfos; }
    void setMissedCallInfoList(const std::list<MissedCallInfo>& callInfos) { m_callInfos = callInfos; }

private:
    bool m_viewed = false;
    std::list<MissedCallInfo> m_callInfos;
};

class DialledCallItem : public CallItemWithPicture {
public:
    struct DialledCallInfo : CallInfo {};

    const std::list<DialledCallInfo>& getDialledCallInfoList() const { return m_callInfos; }
    void setDialledCallInfoList(const std::list<DialledCallInfo>& callInfos) { m_callInfos = callInfos; }

private:
    std::list<DialledCallInfo> m_callInfos;
};

class ReceivedCallItem : public CallItemWithPicture {
public:
    struct ReceivedCallInfo : CallInfo, TimeFormat, Redirecting {};

    const std::list<ReceivedCallInfo>& getReceivedCallInfoList() const { return m_callInfos; }
    void setReceivedCallInfoList(const std::list<ReceivedCallInfo>& callInfos) { m_callInfos = callInfos; }

private:
    std::list<ReceivedCallInfo> m_callInfos;
};

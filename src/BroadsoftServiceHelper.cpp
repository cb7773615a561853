// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "BroadsoftServiceHelper.h"

#include <time.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <list>

#include "Serializer.h"

namespace {

constexpr const char* kMissedKind = "Missed";
constexpr const char* kPlacedKind = "Placed";
constexpr const char* kReceivedKind = "Received";

// Call infos read back from a record are marked as coming from the network call log.
constexpr std::int32_t kNetworkLogCallInfoMode = 2;

// What sets the three call families apart: the kind word, the call info list and whether the
// record carries a viewed flag. Everything else is shared by the templates below.
template <typename Item>
struct CallFamily;

// Dialled and received records leave the viewed field empty and ignore it when read back.
struct FamilyWithoutViewedFlag {
    template <typename Item>
    static std::string viewedField(const Item&) {
        return std::string();
    }
    template <typename Item>
    static void applyViewedField(Item&, const std::string&) {}
};

template <>
struct CallFamily<MissedCallItem> {
    using Info = MissedCallItem::MissedCallInfo;
    static constexpr const char* kKind = kMissedKind;

    static const std::list<Info>& callInfos(const MissedCallItem& item) { return item.getMissedCallInfoList(); }
    static void setCallInfos(MissedCallItem& item, const std::list<Info>& infos) { item.setMissedCallInfoList(infos); }
    static std::string viewedField(const MissedCallItem& item) { return item.getViewed() ? "true" : "false"; }
    // Only the exact lower-case word counts as viewed.
    static void applyViewedField(MissedCallItem& item, const std::string& viewed) { item.setViewed(viewed == "true"); }
};

template <>
struct CallFamily<DialledCallItem> : FamilyWithoutViewedFlag {
    using Info = DialledCallItem::DialledCallInfo;
    static constexpr const char* kKind = kPlacedKind;

    static const std::list<Info>& callInfos(const DialledCallItem& item) { return item.getDialledCallInfoList(); }
    static void setCallInfos(DialledCallItem& item, const std::list<Info>& infos) {
        item.setDialledCallInfoList(infos);
    }
};

template <>
struct CallFamily<ReceivedCallItem> : FamilyWithoutViewedFlag {
    using Info = ReceivedCallItem::ReceivedCallInfo;
    static constexpr const char* kKind = kReceivedKind;

    static const std::list<Info>& callInfos(const ReceivedCallItem& item) { return item.getReceivedCallInfoList(); }
    static void setCallInfos(ReceivedCallItem& item, const std::list<Info>& infos) {
        item.setReceivedCallInfoList(infos);
    }
};

bool isKnownKind(const std::string& kind) {
    return kind == kMissedKind || kind == kPlacedKind || kind == kReceivedKind;
}

// An item without call infos gives a record whose five fields after the kind are all empty.
template <typename Item>
void writeRecord(const Item& item, std::string& out) {
    using Family = CallFamily<Item>;
    std::string kind = Family::kKind;
    std::string callTime, remoteNumber, surname, entryId, viewed;
    const std::list<typename Family::Info> infos = Family::callInfos(item);
    if (!infos.empty()) {
        const CallInfo& firstCall = infos.front();
        callTime = firstCall.callTime;
        remoteNumber = firstCall.remoteNumber;
        surname = item.getSurname();
        entryId = item.getEntryId();
        viewed = Family::viewedField(item);
    }
    out = BroadsoftServiceHelper::serializeCallLogRecord(kind, callTime, remoteNumber, surname, entryId, viewed);
}

// The kind word is not checked against the family: any record fills the item, and one with an
// unknown kind yields an item with empty fields.
template <typename Item>
void readRecord(Item& item, std::string& record) {
    using Family = CallFamily<Item>;
    std::string kind, callTime, remoteNumber, surname, entryId, viewed;
    BroadsoftServiceHelper::deserializeRecord(record, kind, callTime, remoteNumber, surname, entryId, viewed);
    // The record keeps a single id, which serves as both of the item's ids.
    item.setUniqueId(entryId);
    item.setEntryId(entryId);
    item.setSurname(surname);
    Family::applyViewedField(item, viewed);
    typename Family::Info info;
    info.remoteNumber = remoteNumber;
    info.callTime = callTime;
    info.callInfoMode = kNetworkLogCallInfoMode;
    Family::setCallInfos(item, {info});
}

template <typename Item>
void appendRecords(const std::deque<Item>& items, std::vector<std::string>& out) {
    for (const Item& item : items) {
        std::string record;
        writeRecord(item, record);
        out.push_back(record);
    }
}

template <typename Item>
void appendItems(const std::vector<std::string>& records, std::deque<Item>& out) {
    for (std::size_t index = 0; index < records.size(); ++index) {
        Item item;
        std::string record = records[index];  // a copy: reading consumes the record
        readRecord(item, record);
        out.push_back(item);
    }
}

}  // namespace

std::string BroadsoftServiceHelper::serializeCallLogRecord(std::string& kind, std::string& infoText1,
                                                           std::string& infoText2, std::string& name, std::string& id,
                                                           std::string& viewed) {
    std::string record;
    for (const std::string* field : {&kind, &infoText1, &infoText2, &name, &id, &viewed}) {
        Serializer::serialize(record, *field, false);
    }
    return record;
}

void BroadsoftServiceHelper::deserializeRecord(std::string& record, std::string& kind, std::string& infoText1,
                                               std::string& infoText2, std::string& name, std::string& id,
                                               std::string& viewed) {
    Serializer::deserialize(record, kind, false);
    if (!isKnownKind(kind)) {
        return;
    }
    for (std::string* field : {&infoText1, &infoText2, &name, &id, &viewed}) {
        Serializer::deserialize(record, *field, false);
    }
}

void BroadsoftServiceHelper::formatTime(std::string& time) {
    constexpr std::size_t kLocalStampLength = 19;  // "YYYY-MM-DDTHH:MM:SS"; any zone suffix is dropped
    if (time.size() > kLocalStampLength) {
        time.resize(kLocalStampLength);
    }
    // Start from the present local time, so that whatever the stamp leaves out, and above all the
    // daylight-saving flag, comes from now; mktime then reads the stamp with the present flag.
    const std::time_t now = std::time(nullptr);
    std::tm fields{};
    localtime_r(&now, &fields);
    strptime(time.c_str(), "%Y-%m-%dT%H:%M:%S", &fields);
    const std::time_t instant = std::mktime(&fields);
    if (instant == static_cast<std::time_t>(-1)) {
        return;
    }
    std::tm utc{};
    gmtime_r(&instant, &utc);
    char text[26];  // 25 characters and the terminator
    // A year past 9999 does not fit; like an instant mktime cannot give, it leaves the cut stamp.
    if (std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S+00:00", &utc) == 0) {
        return;
    }
    time = text;
}

void BroadsoftServiceHelper::convertMissedCallItemToString(const MissedCallItem& item, std::string& out) {
    writeRecord(item, out);
}

void BroadsoftServiceHelper::convertDialledCallItemToString(const DialledCallItem& item, std::string& out) {
    writeRecord(item, out);
}

void BroadsoftServiceHelper::convertReceivedCallItemToString(const ReceivedCallItem& item, std::string& out) {
    writeRecord(item, out);
}

void BroadsoftServiceHelper::convertMissedCallsToStringData(std::deque<MissedCallItem>& items,
                                                            std::vector<std::string>& out) {
    appendRecords(items, out);
}

void BroadsoftServiceHelper::convertDialledCallsToStringData(std::deque<DialledCallItem>& items,
                                                             std::vector<std::string>& out) {
    appendRecords(items, out);
}

void BroadsoftServiceHelper::convertReceivedCallsToStringData(std::deque<ReceivedCallItem>& items,
                                                              std::vector<std::string>& out) {
    appendRecords(items, out);
}

void BroadsoftServiceHelper::populateMissedCallItemFromStringData(MissedCallItem& item, std::string& record) {
    readRecord(item, record);
}

void BroadsoftServiceHelper::populateDialledCallItemFromStringData(DialledCallItem& item, std::string& record) {
    readRecord(item, record);
}

void BroadsoftServiceHelper::populateReceivedCallItemFromStringData(ReceivedCallItem& item, std::string& record) {
    readRecord(item, record);
}

void BroadsoftServiceHelper::convertStringDataToMissedCalls(const std::vector<std::string>& records,
                                                            std::deque<MissedCallItem>& out) {
    appendItems(records, out);
}

void BroadsoftServiceHelper::convertStringDataToDialledCalls(const std::vector<std::string>& records,
                                                             std::deque<DialledCallItem>& out) {
    appendItems(records, out);
}

void BroadsoftServiceHelper::convertStringDataToReceivedCalls(const std::vector<std::string>& records,
                                                              std::deque<ReceivedCallItem>& out) {
    appendItems(records, out);
}

// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Converters between the host's call-log items and the flat text records in which the host keeps
// its call logs, and the time normaliser. Stateless: every operation is a static function.
//
// A record holds six fields, each written by Serializer::serialize without escaping:
//   1 kind      "Missed", "Placed" (dialled calls) or "Received"
//   2 infoText1 the call time: CallInfo::callTime (the sixth text member) of the first call info
//   3 infoText2 the remote number: CallInfo::remoteNumber (the second text member)
//   4 name      the item's surname
//   5 id        the item's entry id; read back as both entry id and unique id
//   6 viewed    missed calls: "true" or "false"; empty for the other two families
// Only the first call info of an item is written; reading a record gives an item with one call
// info whose callInfoMode is 2.
#include <deque>
#include <string>
#include <vector>

#include "CallItems.h"
#include "FritzBoxXsiExport.h"

class FRITZBOX_XSI_EXPORT BroadsoftServiceHelper {
public:
    BroadsoftServiceHelper() = delete;

    // The record made of the six fields, in this order.
    static std::string serializeCallLogRecord(std::string& kind, std::string& infoText1, std::string& infoText2,
                                              std::string& name, std::string& id, std::string& viewed);
    // Reads the six fields off `record` (which is consumed). A kind other than "Missed", "Placed"
    // or "Received" stops the reading: the other five outputs keep their values.
    static void deserializeRecord(std::string& record, std::string& kind, std::string& infoText1,
                                  std::string& infoText2, std::string& name, std::string& id, std::string& viewed);
    // Rewrites a local "YYYY-MM-DDTHH:MM:SS" stamp (anything after 19 characters, such as a zone
    // offset, is dropped) as the same instant in UTC, "YYYY-MM-DDTHH:MM:SS+00:00". The stamp is read
    // with the daylight-saving state of the present moment, even for a date on the other side of a
    // change; parts it lacks are taken from the present local time, so "" gives now. If the time
    // cannot be represented, the cut stamp is left as it is.
    static void formatTime(std::string& time);

    // items to records: `out` is replaced (single item) or appended to (lists)
    static void convertMissedCallItemToString(const MissedCallItem& item, std::string& out);
    static void convertDialledCallItemToString(const DialledCallItem& item, std::string& out);
    static void convertReceivedCallItemToString(const ReceivedCallItem& item, std::string& out);
    static void convertMissedCallsToStringData(std::deque<MissedCallItem>& items, std::vector<std::string>& out);
    static void convertDialledCallsToStringData(std::deque<DialledCallItem>& items, std::vector<std::string>& out);
    static void convertReceivedCallsToStringData(std::deque<ReceivedCallItem>& items, std::vector<std::string>& out);

    // records to items: the single-item readers consume `record`; the list readers append to `out`
    static void populateMissedCallItemFromStringData(MissedCallItem& item, std::string& record);
    static void populateDialledCallItemFromStringData(DialledCallItem& item, std::string& record);
    static void populateReceivedCallItemFromStringData(ReceivedCallItem& item, std::string& record);
    static void convertStringDataToMissedCalls(const std::vector<std::string>& records,
                                               std::deque<MissedCallItem>& out);
    static void convertStringDataToDialledCalls(const std::vector<std::string>& records,
                                                std::deque<DialledCallItem>& out);
    static void convertStringDataToReceivedCalls(const std::vector<std::string>& records,
                                                 std::deque<ReceivedCallItem>& out);
};

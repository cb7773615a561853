// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router client: the one object through which the phone's call-log and directory service
// reads a FritzBox home router. The host constructs it with the router login's credentials,
// calls sync() for the data set it wants refreshed (keeping the change token between calls) and
// then getData() for the XSI-style document of that data set. Not thread-safe: one thread at a
// time uses an object, and one object at a time holds the fixed picture directory.
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "FilterTypes.h"
#include "FritzBoxXsiExport.h"
#include "HttpClient.h"

class SecureTransportContext;
class SecureConnection;

class FRITZBOX_XSI_EXPORT FritzBox {
public:
    // Creates the contact picture directory; the credentials are used at the first sync().
    FritzBox(const std::string& username, const std::string& password);
    // Closes the kept connection and deletes the picture directory with every picture in it.
    virtual ~FritzBox();
    FritzBox(const FritzBox&) = delete;
    FritzBox& operator=(const FritzBox&) = delete;

    // Store a new credential; a change under a valid session logs out at the router first.
    void setUsername(const std::string& username);
    void setPassword(const std::string& password);

    // Logs in when needed and fetches one data set: 0 the call list, 5 the phonebook. `out` is the
    // change token the host keeps between calls; false when the router's data is unchanged, the
    // fetch failed or the filter is not served.
    bool sync(Broadsoft::Filters::FilterTypes filter, std::string& out);

    // The document for filter 0 (CallLogs) or 5 (Personal) built from the last fetch; empty for
    // any other filter.
    std::string getData(Broadsoft::Filters::FilterTypes filter);

private:
    using HeaderMap = HttpClientIfc::HeaderMap;

    // HTTP exchange
    // One request and its whole answer over the kept connection, redirects followed; true when
    // the final status is usable.
    bool connectionHandler(const std::string& path, std::string body, HttpClientIfc::HTTPMETHOD method,
                           std::string& responseData, HeaderMap& requestHeaders, HeaderMap& responseHeaders,
                           HttpClientIfc::eStatusCode& statusCode, std::string host, std::int32_t redirectCount);
    // Drops the kept connection when forced or when the platform no longer finds it usable.
    void clearSecureConnection(bool force);

    // session login
    // True when m_sid names a session (not empty, not the router's sixteen zeros).
    bool isValidSid();
    // Logs in with the challenge and the bare widened digest; true unless m_sid is "no session".
    bool getSid();
    // Logs out at the router and keeps what its answer says of the session (empty without one).
    void invalidateSid();

    // call list
    // Fetches the call list; false when it failed or is unchanged against the token `out`.
    bool retrieveCallLogData(std::string& out);
    // Converts one record (trace line and identifier) and drops it at filing, as this version does.
    void handleSingleCallLogRecord(std::string& record);
    // The identifier of a call: its minute and how many of this fetch's calls had that minute.
    std::string getCallLogId(const std::string& year, const std::string& month, const std::string& day,
                             const std::string& hour, const std::string& minute);

    // phonebook
    // The export form with the current session.
    std::string getMultiPartData();
    // Fetches the export; false when it failed or is unchanged against the token `out`.
    bool retrievePhonebookData(std::string& out);
    // Appends the contact's directory entry, its picture fetched first on the models that show one.
    void handleSinglePhonebookRecord(std::string& record);
    // Fetches a picture and stores it in the picture directory under its bare file name.
    bool retrieveContactImage(std::string& imageURL, std::string& imageFile);

    std::string m_username;        // login user name, sent as it is
    std::string m_password;        // login password: enters the digest only, never logged or sent
    std::string m_sid;             // the router's session id; empty or with sixteen zeros: none
    std::string m_missedXml;       // callLogsEntry elements of missed calls (always empty, see filing)
    std::string m_placedXml;       // the same for placed calls
    std::string m_receivedXml;     // the same for received calls
    std::string m_phonebookXml;    // the entry elements of the last directory fetch
    std::int32_t m_callListSize;   // records of the last call-list fetch handed on (at most 50)
    std::int32_t m_phoneBookSize;  // entries in m_phonebookXml; both counts of the directory
    std::unique_ptr<SecureTransportContext> m_transportContext;  // the kept connection's context
    std::unique_ptr<SecureConnection> m_secureConn;              // the kept connection; set with the context
    std::vector<std::string> m_callLogIds;  // identifier bases issued in the current call-list fetch
};

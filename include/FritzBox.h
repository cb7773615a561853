#pragma once
// The router client: the one object through which the phone's call-log and directory service
// reads a FritzBox home router. The host constructs it with the router login's credentials,
// calls sync() for the data set it wants refreshed (keeping the change token between calls) and
// then getData() for the XSI-style document of that data set.
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
    friend class FritzBoxTestAccess;  // white-box tests of the conversion steps

    using HeaderMap = std::multimap<std::string, std::string>;

    // HTTP exchange
    bool connectionHandler(const std::string& path, std::string body, HttpClientIfc::HTTPMETHOD method,
                           std::string& responseData, HeaderMap& requestHeaders, HeaderMap& responseHeaders,
                           HttpClientIfc::eStatusCode& statusCode, std::string host, std::int32_t redirectCount);
    void clearSecureConnection(bool force);

    // session login
    bool isValidSid();
    bool getSid();
    void invalidateSid();

    // call list
    bool retrieveCallLogData(std::string& out);
    void handleSingleCallLogRecord(std::string& record);
    std::string getCallLogId(const std::string& year, const std::string& month, const std::string& day,
                             const std::string& hour, const std::string& minute);

    // phonebook
    std::string getMultiPartData();
    bool retrievePhonebookData(std::string& out);
    void handleSinglePhonebookRecord(std::string& record);
    bool retrieveContactImage(std::string& imageURL, std::string& imageFile);

    std::string m_username;
    std::string m_password;
    std::string m_sid;
    std::string m_missedXml;
    std::string m_placedXml;
    std::string m_receivedXml;
    std::string m_phonebookXml;
    std::int32_t m_callListSize;
    std::int32_t m_phoneBookSize;
    std::unique_ptr<SecureTransportContext> m_transportContext;
    std::unique_ptr<SecureConnection> m_secureConn;
    std::vector<std::string> m_callLogIds;
};

#include "FritzBox.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "CallRecordScanner.h"
#include "ClientUtils.h"
#include "Cryptographer.h"
#include "ExportWalk.h"
#include "HardwareVersion.h"
#include "Logging.h"
#include "SecureTransport.h"
#include "Storage.h"

using fritzbox_detail::CallRecordFields;
using fritzbox_detail::kDateCapacity;
using fritzbox_detail::kTextCapacity;

namespace {

const char* const kModuleName = "Broadsoft Service";
const char* const kSourcePath = "./src/FritzBox";

// The module's constant strings, built when the library is loaded. Some are declared for
// completeness of the router protocol and not read by any operation (the ports, the empty text).
const std::string kPortHttp = "80";
const std::string kPortHttps = "443";
const std::string kEmpty;
const std::string kChallengeBegin = "<Challenge>";
const std::string kChallengeEnd = "</Challenge>";
const std::string kSidBegin = "<SID>";
const std::string kSidEnd = "</SID>";
const std::string kCallLogsEntryBegin = "<callLogsEntry>";
const std::string kCallLogsEntryEnd = "</callLogsEntry>";
const std::string kPhoneNumberBegin = "<phoneNumber>";
const std::string kPhoneNumberEnd = "</phoneNumber>";
const std::string kNameBegin = "<name>";
const std::string kNameEnd = "</name>";
const std::string kTimeBegin = "<time>";
const std::string kTimeEnd = "</time>";
const std::string kCallLogIdBegin = "<callLogId>";
const std::string kCallLogIdEnd = "</callLogId>";
const std::string kPlacedBegin = "<placed>";
const std::string kPlacedEnd = "</placed>";
const std::string kReceivedBegin = "<received>";
const std::string kReceivedEnd = "</received>";
const std::string kMissedBegin = "<missed>";
const std::string kMissedEnd = "</missed>";
// The phonebook keywords that lack an angle bracket do so on purpose: a start tag with
// attributes still matches, and the end keyword of an element also ends its self-closing form.
const std::string kContactBegin = "<contact";
const std::string kContactEnd = "</contact>";
const std::string kRealNameBegin = "<realName";
const std::string kRealNameEnd = "/realName>";
const std::string kTelephonyBegin = "<telephony";
const std::string kTelephonyEnd = "</telephony>";
const std::string kImageUrlBegin = "<imageURL";
const std::string kImageUrlEnd = "/imageURL>";
const std::string kNumberBegin = "<number";
const std::string kNumberEnd = "/number>";
const std::string kIdZero = "id=\"0\"";
const std::string kContentEnd = "<";
const std::string kContentBegin = ">";
const std::string kCallerUnknown = "Caller.Unknown.XXX";
const std::string kFileScheme = "file://";
const std::string kMultipartBoundary = "----WebKitFormBoundaryPhone";
const std::string kImageDirectory = "/data/images/fritzbox/";

// The router's name on the home network; every request goes to it on port 80.
const char* const kRouterHost = "fritz.box";
const char* const kRequestPort = "80";
const int kMaxResponseLength = 204800;
const std::size_t kMaxReservedResponse = 16u * 1024u * 1024u;
const std::int32_t kMaxRedirectDepth = 4;
const std::int32_t kMaxCallListRecords = 50;
const std::size_t kSkippedCallListLines = 2;
const char* const kInvalidSid = "0000000000000000";
const char* const kXsiNamespace = "http://schema.broadsoft.com/xsi";
const char* const kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Scratch field capacities beyond the scanner's, terminator included.
const std::size_t kDatePartCapacity = 4;
const std::size_t kTimeTextCapacity = 20;

bool traceEnabled() {
    return loggingOnAppQel(kModuleName, 6);
}

const char* boolText(bool value) {
    return value ? "true" : "false";
}

bool beginsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

// The change token holds the digest of the last accepted body. True when `body` differs from
// it; the token then takes the new digest at once, before anything of the body is converted.
bool replaceTokenIfChanged(const std::string& body, std::string& token) {
    const Cryptographer cryptographer;
    std::string digest = cryptographer.md5(body);
    if (digest == token) {
        return false;
    }
    token = std::move(digest);
    return true;
}

}  // namespace

#define FRITZBOX_LOG(level, ...) logAppQel(kModuleName, kSourcePath, level, __LINE__, __VA_ARGS__)
// Tracing lines are formatted only when the host has level 6 switched on.
#define FRITZBOX_TRACE(...)               \
    do {                                  \
        if (traceEnabled()) {             \
            FRITZBOX_LOG(6, __VA_ARGS__); \
        }                                 \
    } while (false)

// ---------------------------------------------------------------------------------------------
// Object, credentials, dispatch and documents

FritzBox::FritzBox(const std::string& username, const std::string& password)
    : m_username(username), m_password(password), m_callListSize(0), m_phoneBookSize(0) {
    // A failure shows later, when a picture cannot be stored.
    Storage::makeDir(kImageDirectory);
}

FritzBox::~FritzBox() {
    clearSecureConnection(true);
    // The pictures belong to this object's directory view and leave with it.
    Storage::deleteDirectory(kImageDirectory);
}

void FritzBox::setUsername(const std::string& username) {
    if (isValidSid() && username != m_username) {
        FRITZBOX_TRACE("setUsername() username has changed. invalidating SID");
        invalidateSid();
    }
    m_username = username;
    FRITZBOX_TRACE("setUsername() m_username='%s'", m_username.c_str());
}

void FritzBox::setPassword(const std::string& password) {
    if (isValidSid() && password != m_password) {
        FRITZBOX_TRACE("setPassword() password has changed. invalidating SID");
        invalidateSid();
    }
    m_password = password;
    FRITZBOX_TRACE("setPassword() m_password.length='%d'", static_cast<int>(m_password.length()));
}

bool FritzBox::sync(Broadsoft::Filters::FilterTypes filter, std::string& out) {
    bool loginFailed = false;
    if (!m_username.empty() && !m_password.empty() && !isValidSid()) {
        if (!getSid()) {
            FRITZBOX_LOG(2, "sync() error getting SID");
            loginFailed = true;
        }
    }
    if (!loginFailed) {
        // With empty credentials a session that is still valid is used as it is.
        if (filter == Broadsoft::Filters::CallLogs && isValidSid()) {
            return retrieveCallLogData(out);
        }
        if (filter == Broadsoft::Filters::Personal && isValidSid()) {
            return retrievePhonebookData(out);
        }
    }
    FRITZBOX_LOG(2, "sync() cannot sync. isValidSid()[%s] dirId[%d]", boolText(isValidSid()), static_cast<int>(filter));
    return false;
}

std::string FritzBox::getData(Broadsoft::Filters::FilterTypes filter) {
    std::string document;
    if (filter == Broadsoft::Filters::CallLogs) {
        document.append(kXmlDeclaration).append("<CallLogs xmlns=\"").append(kXsiNamespace).append("\">");
        document.append(kPlacedBegin).append(m_placedXml).append(kPlacedEnd);
        document.append(kReceivedBegin).append(m_receivedXml).append(kReceivedEnd);
        document.append(kMissedBegin).append(m_missedXml).append(kMissedEnd);
        document.append("</CallLogs>");
    } else if (filter == Broadsoft::Filters::Personal) {
        // The directory is always delivered whole, so both counts are the entry count.
        const std::string count = ClientUtils::itos(m_phoneBookSize);
        document.append(kXmlDeclaration).append("<Personal xmlns=\"").append(kXsiNamespace).append("\">");
        document.append("<numberOfRecords>").append(count).append("</numberOfRecords>");
        document.append("<totalAvailableRecords>").append(count).append("</totalAvailableRecords>");
        document.append(m_phonebookXml);
        document.append("</Personal>");
    }
    return document;
}

// ---------------------------------------------------------------------------------------------
// HTTP exchange

namespace {

// What one exchange leaves for connectionHandler to decide on.
struct ExchangeOutcome {
    bool sent = false;
    int readResult = HttpClient::FAILURE;
    std::string redirectHost;
};

// One request and its whole answer over `connection`, through a client that lives for this
// exchange only and is gone when this returns. The body arrives in reads of at most
// kMaxResponseLength bytes, appended in order.
ExchangeOutcome exchangeOnce(SecureConnection* connection, const std::string& host, const std::string& path,
                             const std::string& body, HttpClientIfc::HTTPMETHOD method,
                             const std::multimap<std::string, std::string>& requestHeaders, std::string& responseData,
                             std::multimap<std::string, std::string>& responseHeaders,
                             HttpClientIfc::eStatusCode& statusCode) {
    ExchangeOutcome outcome;
    std::unique_ptr<HttpClient> client(new HttpClient());
    client->setDestinationHost(host, kRequestPort);
    statusCode = HttpClientIfc::eStatusNone;
    outcome.sent = client->sendRequest(connection, method, 0, requestHeaders, path.c_str(), body.c_str(), body.length(),
                                       "", "", 1, 0) != HttpClient::FAILURE;
    if (!outcome.sent) {
        return outcome;
    }
    int totalLength = 0;
    int result =
        client->readResponse(connection, responseData, kMaxResponseLength, statusCode, totalLength, responseHeaders);
    FRITZBOX_TRACE(
        "connectionHandler() statusCode: %d, result: %d, maxResponseLength: %d, totalLength: %d, "
        "responseData.length(): %d",
        static_cast<int>(statusCode), result, kMaxResponseLength, totalLength, static_cast<int>(responseData.length()));
    // The announced length lets the body grow in place instead of being copied at every
    // doubling. It is the router's word, so no more than a large export is set aside on it.
    if (totalLength > 0) {
        responseData.reserve(std::min(static_cast<std::size_t>(totalLength), kMaxReservedResponse));
    }
    while (result == HttpClientIfc::MORE_DATA) {
        std::string more;
        result = client->readMoreData(connection, more, kMaxResponseLength);
        responseData.append(more);
    }
    outcome.readResult = result;
    // Asked after every exchange: only a redirect status makes use of it.
    outcome.redirectHost = client->getRedirectHost();
    return outcome;
}

enum class StatusMeaning { Usable, Redirect, Unexpected };

StatusMeaning meaningOf(HttpClientIfc::eStatusCode statusCode) {
    switch (static_cast<int>(statusCode)) {
        case 200:
        case 201:
        case 204:
        case 304:
        case 404:  // counted as usable on purpose: the caller judges the body
            return StatusMeaning::Usable;
        case 301:
        case 302:
        case 307:
            return StatusMeaning::Redirect;
        default:  // 303 included: it is not followed
            return StatusMeaning::Unexpected;
    }
}

}  // namespace

bool FritzBox::connectionHandler(const std::string& path, std::string body, HttpClientIfc::HTTPMETHOD method,
                                 std::string& responseData, HeaderMap& requestHeaders, HeaderMap& responseHeaders,
                                 HttpClientIfc::eStatusCode& statusCode, std::string host, std::int32_t redirectCount) {
    if (host.empty()) {
        host = kRouterHost;
    }
    FRITZBOX_TRACE("connectionHandler() connecting to %s:%s, path='%s'", host.c_str(), kRequestPort, path.c_str());

    // The router is spoken to in plain HTTP: no certificates, keys or revocation checks.
    SecurityCertificate clientCertificate;
    SecurityKey clientKey("", "");
    SecurityCertificate authorityCertificate;
    CertificateVerificationPolicy verificationPolicy;
    OnlineCertStatusPolicy onlineStatusPolicy(nullptr, nullptr);

    clearSecureConnection(false);
    if (!m_transportContext && !m_secureConn) {
        try {
            m_transportContext.reset(new SecureTransportContext(clientCertificate, clientKey, authorityCertificate,
                                                                SecureTransportContextIfc::eTLSv1_2,
                                                                &verificationPolicy, &onlineStatusPolicy, ""));
            m_secureConn.reset(new SecureConnection(*m_transportContext, host, kRequestPort, 5, 5, true));
        } catch (const SecureTransportException& exception) {
            FRITZBOX_LOG(2, "connectionHandler() exception='%s'", exception.what());
            clearSecureConnection(true);
            return false;
        }
    }
    FRITZBOX_TRACE("connectionHandler() m_secureConn[%p], m_transportContext[%p]",
                   static_cast<void*>(m_secureConn.get()), static_cast<void*>(m_transportContext.get()));

    ExchangeOutcome exchange;
    if (m_secureConn) {
        exchange = exchangeOnce(m_secureConn.get(), host, path, body, method, requestHeaders, responseData,
                                responseHeaders, statusCode);
    }
    if (!exchange.sent) {
        clearSecureConnection(true);
        FRITZBOX_TRACE("connectionHandler() HttpClient::FAILURE");
        return false;
    }
    host = exchange.redirectHost;
    clearSecureConnection(false);
    if (exchange.readResult == HttpClient::FAILURE) {
        FRITZBOX_TRACE("connectionHandler() HttpClient::FAILURE on reading response");
        return false;
    }

    switch (meaningOf(statusCode)) {
        case StatusMeaning::Usable:
            return true;
        case StatusMeaning::Unexpected:
            FRITZBOX_TRACE("connectionHandler() unexpected response\n%s\n", responseData.c_str());
            return false;
        case StatusMeaning::Redirect:
            break;
    }
    if (redirectCount == kMaxRedirectDepth) {
        FRITZBOX_LOG(2, "connectionHandler() too many redirects");
        return false;
    }
    FRITZBOX_TRACE("connectionHandler() redirection='%s'", host.c_str());
    return connectionHandler(path, body, method, responseData, requestHeaders, responseHeaders, statusCode, host,
                             redirectCount + 1);
}

void FritzBox::clearSecureConnection(bool force) {
    FRITZBOX_TRACE("clearSecureConnection() IN force[%s], m_secureConn[%p], m_transportContext[%p]", boolText(force),
                   static_cast<void*>(m_secureConn.get()), static_cast<void*>(m_transportContext.get()));
    const bool keep = !force && (!m_secureConn || m_secureConn->isUsable());
    if (!keep) {
        // The context goes first, before the connection is closed.
        m_transportContext.reset();
        if (m_secureConn) {
            if (m_secureConn->isUsable()) {
                m_secureConn->close();
            }
            m_secureConn.reset();
        }
    }
    FRITZBOX_LOG(4, "clearSecureConnection() OUT force[%s], m_secureConn[%p], m_transportContext[%p]", boolText(force),
                 static_cast<void*>(m_secureConn.get()), static_cast<void*>(m_transportContext.get()));
}

// ---------------------------------------------------------------------------------------------
// Session login

bool FritzBox::isValidSid() {
    return !m_sid.empty() && m_sid.find(kInvalidSid) == std::string::npos;
}

bool FritzBox::getSid() {
    std::string challenge;
    {
        std::string response;
        HeaderMap requestHeaders, responseHeaders;
        HttpClientIfc::eStatusCode status;
        // A failed first request does not stop the login: it goes on with an empty challenge.
        if (connectionHandler("/login_sid.lua", "", HttpClientIfc::GET, response, requestHeaders, responseHeaders,
                              status, "", 0)) {
            if (!ClientUtils::getStringBetweenKeywords(response, challenge, kChallengeBegin, kChallengeEnd)) {
                FRITZBOX_LOG(2, "getSid() could not find challenge='%s'", response.c_str());
                return false;
            }
            FRITZBOX_TRACE("getSid() challenge='%s'", challenge.c_str());
        }
    }

    // The digest input is widened byte by byte to 16-bit little-endian units, without decoding
    // any character set, and the digest alone is the response.
    const std::string input = challenge + "-" + m_password;
    std::string widened(input.length() * 2, '\0');
    for (std::size_t i = 0; i < input.length(); ++i) {
        widened[2 * i] = input[i];
    }
    const Cryptographer cryptographer;
    const std::string responseValue = cryptographer.md5(widened);
    FRITZBOX_TRACE("getSid() response='%s'", responseValue.c_str());

    std::string response;
    HeaderMap requestHeaders, responseHeaders;
    HttpClientIfc::eStatusCode status;
    const std::string loginPath = "/login_sid.lua?username=" + m_username + "&response=" + responseValue;
    if (connectionHandler(loginPath, "", HttpClientIfc::GET, response, requestHeaders, responseHeaders, status, "",
                          0)) {
        if (!ClientUtils::getStringBetweenKeywords(response, m_sid, kSidBegin, kSidEnd)) {
            FRITZBOX_LOG(2, "getSid() could not find SID in response\n'%s'", response.c_str());
            return false;
        }
        FRITZBOX_TRACE("getSid() m_sid='%s'", m_sid.c_str());
    }
    // Emptiness is not tested here; sync() checks isValidSid() before it fetches.
    return m_sid.find(kInvalidSid) == std::string::npos;
}

void FritzBox::invalidateSid() {
    std::string response;
    HeaderMap requestHeaders, responseHeaders;
    HttpClientIfc::eStatusCode status;
    if (!connectionHandler("/login_sid.lua?logout=&sid=" + m_sid, "", HttpClientIfc::GET, response, requestHeaders,
                           responseHeaders, status, "", 0)) {
        return;
    }
    if (ClientUtils::getStringBetweenKeywords(response, m_sid, kSidBegin, kSidEnd)) {
        FRITZBOX_TRACE("invalidateSid() m_sid='%s'", m_sid.c_str());
    } else {
        FRITZBOX_LOG(2, "invalidateSid() could not find SID in response\n'%s'", response.c_str());
        m_sid.clear();
    }
}

// ---------------------------------------------------------------------------------------------
// Call list

bool FritzBox::retrieveCallLogData(std::string& out) {
    m_missedXml.clear();
    m_placedXml.clear();
    m_receivedXml.clear();
    m_callListSize = kMaxCallListRecords;
    m_callLogIds.clear();

    std::string responseData;
    HeaderMap requestHeaders, responseHeaders;
    HttpClientIfc::eStatusCode status;
    if (!connectionHandler("/fon_num/foncalls_list.lua?csv=&sid=" + m_sid, "", HttpClientIfc::GET, responseData,
                           requestHeaders, responseHeaders, status, "", 0)) {
        return false;
    }

    // An unchanged list costs one digest and nothing more.
    if (!replaceTokenIfChanged(responseData, out)) {
        return false;
    }

    // Lines end at "\n" only; the first two (separator hint and column header) are skipped. Only
    // the records that will be converted are kept, the rest are counted.
    std::vector<std::string> records;
    std::size_t lineCount = 0;
    std::size_t lineStart = 0;
    while (lineStart < responseData.length()) {
        std::size_t lineEnd = responseData.find('\n', lineStart);
        if (lineEnd == std::string::npos) {
            lineEnd = responseData.length();
        }
        if (lineCount >= kSkippedCallListLines && records.size() < static_cast<std::size_t>(kMaxCallListRecords)) {
            records.emplace_back(responseData, lineStart, lineEnd - lineStart);
        }
        ++lineCount;
        lineStart = lineEnd + 1;
    }
    const std::size_t recordCount = lineCount > kSkippedCallListLines ? lineCount - kSkippedCallListLines : 0;
    if (recordCount < static_cast<std::size_t>(m_callListSize)) {
        m_callListSize = static_cast<std::int32_t>(recordCount);
    }
    FRITZBOX_TRACE("retrieveCallLogData() m_callListSize='%d'", static_cast<int>(m_callListSize));

    for (std::int32_t i = 0; i < m_callListSize; ++i) {
        handleSingleCallLogRecord(records[static_cast<std::size_t>(i)]);
    }
    return true;
}

void FritzBox::handleSingleCallLogRecord(std::string& record) {
    CallRecordFields fields;
    if (!fritzbox_detail::callRecordFieldsFit(record) || !fritzbox_detail::scanCallRecord(record.c_str(), fields)) {
        FRITZBOX_LOG(2, "handleSingleCallLogRecord() record='%s'", record.c_str());
        return;
    }
    const char* const type = fields.type;
    const char* const date = fields.date;
    const char* const name = fields.name;
    const char* const number = fields.number;

    std::string numberText = number;
    std::string nameText = name;
    if (beginsWith(numberText, "Unbekannt")) {
        numberText = kCallerUnknown;
        nameText = kCallerUnknown;
    }
    // "number (remark)" as a name is the router's label for a known number: show the number.
    char leadingRun[kTextCapacity] = {};
    char remark[kTextCapacity] = {};
    if (std::sscanf(name, "%99[0-9*#+] (%99[^)])", leadingRun, remark) == 2 && std::strcmp(leadingRun, number) == 0) {
        nameText = numberText;
    }
    nameText = ClientUtils::escapeXMLString(nameText);

    // Each date part gets at most three characters; the date field itself has at most 15, so the
    // 16-byte parts of the split can hold anything it yields before the length check.
    char parts[5][kDateCapacity] = {};
    const int partCount =
        std::sscanf(date, "%15[^.].%15[^.].%15[^ ] %15[^:]:%15s", parts[0], parts[1], parts[2], parts[3], parts[4]);
    const bool partsFit = std::all_of(std::begin(parts), std::end(parts),
                                      [](const char* part) { return std::strlen(part) < kDatePartCapacity; });
    if (partCount < 5 || !partsFit) {
        FRITZBOX_LOG(2, "handleSingleCallLogRecord() time='%s'", date);
        return;
    }
    const std::string day = parts[0], month = parts[1], year = parts[2], hour = parts[3], minute = parts[4];

    FRITZBOX_TRACE(
        "handleSingleCallLogRecord() type='%s', time='20%s-%s-%sT%s:%s:00+00:00', normalizedName='%s', "
        "normalizedNumber='%s'",
        type, year.c_str(), month.c_str(), day.c_str(), hour.c_str(), minute.c_str(), nameText.c_str(),
        numberText.c_str());

    // The router's local time goes in as it is, without an offset; a longer text is cut at 19.
    char timeText[kTimeTextCapacity] = {};
    std::snprintf(timeText, sizeof(timeText), "20%s-%s-%sT%s:%s:00", year.c_str(), month.c_str(), day.c_str(),
                  hour.c_str(), minute.c_str());

    std::string element;
    element.append(kCallLogsEntryBegin);
    element.append(kPhoneNumberBegin).append(numberText).append(kPhoneNumberEnd);
    element.append(kNameBegin).append(nameText).append(kNameEnd);
    element.append(kTimeBegin).append(timeText).append(kTimeEnd);
    element.append(kCallLogIdBegin).append(getCallLogId(year, month, day, hour, minute)).append(kCallLogIdEnd);
    element.append(kCallLogsEntryEnd);

    // Filing tests a category text that this version never fills from the record's type field,
    // so no branch matches and the built entry is dropped: the three call-log lists stay empty
    // while the trace lines and the identifier list show every accepted record.
    const std::string category;
    if (beginsWith(category, "1")) {
        m_receivedXml.append(element);
    } else if (beginsWith(category, "2")) {
        m_missedXml.append(element);
    } else if (beginsWith(category, "4")) {
        m_placedXml.append(element);
    }
}

std::string FritzBox::getCallLogId(const std::string& year, const std::string& month, const std::string& day,
                                   const std::string& hour, const std::string& minute) {
    const std::string baseId = year + month + day + hour + minute;
    const int found = static_cast<int>(std::count(m_callLogIds.begin(), m_callLogIds.end(), baseId));
    m_callLogIds.push_back(baseId);
    FRITZBOX_TRACE("getCallLogId() callLogId='%s' found='%d'", baseId.c_str(), found);
    return baseId + ClientUtils::itos(found);
}

// ---------------------------------------------------------------------------------------------
// Phonebook

std::string FritzBox::getMultiPartData() {
    const std::string delimiter = "--" + kMultipartBoundary;
    std::string body;
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"sid\"\r\n\r\n");
    body.append(m_sid).append("\r\n");
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"PhonebookId\"\r\n\r\n");
    body.append("0\r\n");
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"PhonebookExportName\"\r\n\r\n");
    body.append("Telefonbuch\r\n");
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"PhonebookExport\"\r\n\r\n\r\n");
    body.append(delimiter).append("--\r\n");
    return body;
}

bool FritzBox::retrievePhonebookData(std::string& out) {
    m_phonebookXml.clear();
    m_phoneBookSize = 0;

    HeaderMap requestHeaders{{"Content-Type", "multipart/form-data; boundary=" + kMultipartBoundary}};
    HeaderMap responseHeaders;
    std::string response;
    HttpClientIfc::eStatusCode status;
    if (!connectionHandler("/cgi-bin/firmwarecfg", getMultiPartData(), HttpClientIfc::POST, response, requestHeaders,
                           responseHeaders, status, "", 0)) {
        return false;
    }
    // Whatever the exchange accepted is taken as the export; the status is not looked at.
    if (!replaceTokenIfChanged(response, out)) {
        return false;
    }

    fritzbox_detail::forEachExtraction(response, kContactBegin, kContactEnd, [this](std::string& record) {
        handleSinglePhonebookRecord(record);
        return true;
    });
    FRITZBOX_TRACE("retrievePhonebookData() m_phoneBookSize='%d'", static_cast<int>(m_phoneBookSize));
    return true;
}

void FritzBox::handleSinglePhonebookRecord(std::string& record) {
    std::string fragment;
    std::string name;
    if (!ClientUtils::getStringBetweenKeywords(record, fragment, kRealNameBegin, kRealNameEnd) ||
        !ClientUtils::getStringBetweenKeywords(fragment, name, kContentBegin, kContentEnd)) {
        FRITZBOX_TRACE("handleSinglePhonebookRecord() skip entry. name missing[%s]", record.c_str());
        return;
    }

    std::string telephony;
    if (!ClientUtils::getStringBetweenKeywords(record, telephony, kTelephonyBegin, kTelephonyEnd)) {
        FRITZBOX_TRACE("handleSinglePhonebookRecord() skip entry. phone numbers missing[%s]", record.c_str());
        return;
    }

    // A directory entry holds one number: the first number element marked id="0".
    std::string number;
    fritzbox_detail::forEachExtraction(telephony, kNumberBegin, kNumberEnd, [&number](std::string& numberElement) {
        return numberElement.find(kIdZero) == std::string::npos ||
               !ClientUtils::getStringBetweenKeywords(numberElement, number, kContentBegin, kContentEnd);
    });
    if (number.empty() || number.find('@') != std::string::npos) {
        FRITZBOX_TRACE("handleSinglePhonebookRecord() no valid number found[%s]", number.c_str());
        return;
    }

    if (HardwareVersion::is_Tern() || HardwareVersion::is_Gull_any() || HardwareVersion::is_Wren_any()) {
        std::string imageURL;
        std::string imageFile;
        if (ClientUtils::getStringBetweenKeywords(record, fragment, kImageUrlBegin, kImageUrlEnd) &&
            ClientUtils::getStringBetweenKeywords(fragment, imageURL, kContentBegin, kContentEnd) &&
            retrieveContactImage(imageURL, imageFile)) {
            name.append("@@@").append(imageFile);
        }
    }

    m_phonebookXml.append("<entry><name>")
        .append(name)
        .append("</name><number>")
        .append(number)
        .append("</number></entry>");
    ++m_phoneBookSize;
}

bool FritzBox::retrieveContactImage(std::string& imageURL, std::string& imageFile) {
    FRITZBOX_TRACE("retrieveContactImage() imageURL[%s]", imageURL.c_str());
    ClientUtils::replaceSubstringInString(imageURL, kFileScheme, "");
    // Only the bare file name is used locally, so no location can point outside the directory.
    std::string locationPath;
    std::string fileName;
    ClientUtils::splitFilenameAndPath(imageURL, locationPath, fileName);

    std::string responseData;
    HeaderMap requestHeaders, responseHeaders;
    HttpClientIfc::eStatusCode status;
    if (!connectionHandler("/lua/photo.lua?photo=" + imageURL + "&sid=" + m_sid, "", HttpClientIfc::GET, responseData,
                           requestHeaders, responseHeaders, status, "", 0)) {
        return false;
    }
    if (status != HttpClientIfc::eStatusOk || responseData.empty()) {
        FRITZBOX_LOG(2, "retrieveContactImage() error loading image. responseData:\n%s", responseData.c_str());
        return false;
    }

    imageFile = kImageDirectory + fileName;
    FRITZBOX_TRACE("retrieveContactImage() store imageFile[%s]", imageFile.c_str());
    {
        // Always rewritten: a picture of the same name from an earlier contact is replaced.
        std::ofstream file(imageFile, std::ios::binary | std::ios::trunc);
        if (!file.is_open()) {
            FRITZBOX_LOG(2, "retrieveContactImage() cannot open file[%s]", imageFile.c_str());
            return false;
        }
        file.write(responseData.data(), static_cast<std::streamsize>(responseData.size()));
    }
    if (traceEnabled()) {
        FRITZBOX_LOG(6, "retrieveContactImage() written[%s] responseData.size[%d] fileSize[%d]",
                     boolText(Storage::fileExists_stat(imageFile)), static_cast<int>(responseData.size()),
                     static_cast<int>(Storage::fileSize(imageFile)));
    }
    return true;
}

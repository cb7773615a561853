// A first read that appends to the response string instead of replacing what it held: a virtual
// operation replaced (the module reaches it through the platform's vtable).
#include <string>

#include "HttpClient.h"
#include "Next.h"

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    using Read = int (*)(HttpClient*, SecureConnection*, std::string&, int, eStatusCode&, int&, HeaderMap&);
    static const Read read = nextDefinition<Read>(
        "_ZN10HttpClient12readResponseEP16SecureConnectionRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEiRN13"
        "HttpClientIfc11eStatusCodeERiRSt8multimapIS7_S7_St4lessIS7_ESaISt4pairIKS7_S7_EEE");
    const std::string before = responseData;
    const int result =
        read(this, connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
    responseData.insert(0, before);
    return result;
}

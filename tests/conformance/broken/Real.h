// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The Linux platform's own definitions of the virtual and member operations that broken platforms
// wrap: each forwards to the definition after the broken library, found under its mangled name
// (sendRequest's body length is a size_t, whose mangled letter differs between 64 and 32 bits).
#include <cstdarg>
#include <cstdio>
#include <string>

#include "Cryptographer.h"
#include "HttpClient.h"
#include "Logging.h"
#include "Next.h"
#include "SecureTransport.h"

namespace real {

inline int sendRequest(HttpClient* client, SecureConnection* connection, HttpClientIfc::HTTPMETHOD method,
                       int timeoutSeconds, HttpClientIfc::HeaderMap headers, const char* path, const char* body,
                       std::size_t bodyLength, const std::string& authUser, const std::string& authPassword,
                       int keepAlive, int followRedirects) {
    using Send = int (*)(HttpClient*, SecureConnection*, HttpClientIfc::HTTPMETHOD, int, HttpClientIfc::HeaderMap,
                         const char*, const char*, std::size_t, const std::string&, const std::string&, int, int);
    static const Send send = nextDefinition<Send>(
        "_ZN10HttpClient11sendRequestEP16SecureConnectionN13HttpClientIfc10HTTPMETHODEiSt8multimapINSt7__cxx1112basic_"
        "stringIcSt11char_traitsIcESaIcEEESA_St4lessISA_ESaISt4pairIKSA_SA_EEEPKcSJ_"
#if __SIZEOF_SIZE_T__ == 8
        "m"
#else
        "j"
#endif
        "RSE_SK_ii");
    return send(client, connection, method, timeoutSeconds, std::move(headers), path, body, bodyLength, authUser,
                authPassword, keepAlive, followRedirects);
}

inline int readResponse(HttpClient* client, SecureConnection* connection, std::string& responseData,
                        int maxResponseLength, HttpClientIfc::eStatusCode& statusCode, int& totalLength,
                        HttpClientIfc::HeaderMap& responseHeaders) {
    using Read = int (*)(HttpClient*, SecureConnection*, std::string&, int, HttpClientIfc::eStatusCode&, int&,
                         HttpClientIfc::HeaderMap&);
    static const Read read = nextDefinition<Read>(
        "_ZN10HttpClient12readResponseEP16SecureConnectionRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEiRN13"
        "HttpClientIfc11eStatusCodeERiRSt8multimapIS7_S7_St4lessIS7_ESaISt4pairIKS7_S7_EEE");
    return read(client, connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
}

inline int readMoreData(HttpClient* client, SecureConnection* connection, std::string& data, int maxLength) {
    using Read = int (*)(HttpClient*, SecureConnection*, std::string&, int);
    static const Read read = nextDefinition<Read>(
        "_ZN10HttpClient12readMoreDataEP16SecureConnectionRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEi");
    return read(client, connection, data, maxLength);
}

inline std::string getRedirectHost(HttpClient* client) {
    using Get = std::string (*)(HttpClient*);
    static const Get get = nextDefinition<Get>("_ZN10HttpClient15getRedirectHostB5cxx11Ev");
    return get(client);
}

inline void setDestinationHost(HttpClient* client, const std::string& host, const std::string& port) {
    using Set = void (*)(HttpClient*, const std::string&, const std::string&);
    static const Set set = nextDefinition<Set>(
        "_ZN10HttpClient18setDestinationHostERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES7_");
    set(client, host, port);
}

inline void constructConnection(SecureConnection* connection, SecureTransportContext& context, const std::string& host,
                                const std::string& port, unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds,
                                bool plainText) {
    using Construct = void (*)(SecureConnection*, SecureTransportContext&, const std::string&, const std::string&,
                               unsigned, unsigned, bool);
    static const Construct construct = nextDefinition<Construct>(
        "_ZN16SecureConnectionC2ER22SecureTransportContextRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES9_jj"
        "b");
    construct(connection, context, host, port, connectTimeoutSeconds, ioTimeoutSeconds, plainText);
}

inline void constructContext(SecureTransportContext* context, const SecurityCertificate& clientCertificate,
                             const SecurityKey& clientKey, const SecurityCertificate& authorityCertificate,
                             SecureTransportContextIfc::eProtocolType protocol,
                             const CertificateVerificationPolicy* verificationPolicy,
                             const OnlineCertStatusPolicy* onlineStatusPolicy, const std::string& cipherList) {
    using Construct = void (*)(SecureTransportContext*, const SecurityCertificate&, const SecurityKey&,
                               const SecurityCertificate&, SecureTransportContextIfc::eProtocolType,
                               const CertificateVerificationPolicy*, const OnlineCertStatusPolicy*, const std::string&);
    static const Construct construct = nextDefinition<Construct>(
        "_ZN22SecureTransportContextC2ERK19SecurityCertificateRK11SecurityKeyS2_N25SecureTransportContextIfc13eProtoc"
        "olTypeEPK29CertificateVerificationPolicyPK22OnlineCertStatusPolicyRKNSt7__cxx1112basic_stringIcSt11char_tra"
        "itsIcESaIcEEE");
    construct(context, clientCertificate, clientKey, authorityCertificate, protocol, verificationPolicy,
              onlineStatusPolicy, cipherList);
}

inline std::string md5(const Cryptographer* cryptographer, const std::string& data) {
    using Md5 = std::string (*)(const Cryptographer*, const std::string&);
    static const Md5 hash =
        nextDefinition<Md5>("_ZNK13Cryptographer3md5ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    return hash(cryptographer, data);
}

// The Linux logger writing `text` as the message of one line.
inline void logLine(const char* module, const char* sourcePath, int level, int line, const char* text) {
    using Log = void (*)(const char*, const char*, int, int, const char*, ...);
    static const Log log = nextDefinition<Log>("_Z9logAppQelPKcS0_iiS0_z");
    log(module, sourcePath, level, line, "%s", text);
}

// A log call's message formatted into a buffer of `Size` bytes; the length it would have had.
template <std::size_t Size>
PLATFORM_PRINTF_FORMAT(2, 0)
int formatInto(char (&buffer)[Size], const char* format, va_list arguments) {
    return std::vsnprintf(buffer, Size, format, arguments);
}

inline void close(SecureConnection* connection) {
    using Close = void (*)(SecureConnection*);
    static const Close closeConnection = nextDefinition<Close>("_ZN16SecureConnection5closeEv");
    closeConnection(connection);
}

}  // namespace real

// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The platform interface as the module compiles it in, for abidiff (libabigail) to compare: a small
// shared library whose one exported function reaches every platform type the module allocates,
// builds on its stack, reads inline or catches, and the type of every platform function it calls.
// Built from this project's platform headers, its description is the baseline
// abi/platform-<arch>.abi; built from a firmware's own platform headers, abidiff against that
// baseline names each type, member, base class, virtual function slot, enumerator or call
// signature that differs (docs/integration.md, "The binary interface").
//
// Build it with -g -femit-class-debug-always. GCC otherwise describes a class whose key function
// (the first out-of-line virtual function, here the destructor) is defined elsewhere only as a
// declaration, which leaves HttpClient, SecureConnection and SecureTransportContext without
// members or virtual functions to compare.
#include <cstddef>

#include "CallItems.h"
#include "ClientUtils.h"
#include "Cryptographer.h"
#include "FilterTypes.h"
#include "GPALException.h"
#include "HardwareVersion.h"
#include "HttpClient.h"
#include "Logging.h"
#include "SecureTransport.h"
#include "Serializer.h"
#include "Storage.h"

namespace {

// A platform function's type as a plain function pointer. A member function takes its object as
// a first parameter, so being static or not, const or not, and the return type all show in the
// type: the loader checks names only, and a name says neither the return type nor whether a
// member function is static.
template <typename R, typename... A>
R (*callType(R (*)(A...)))
(A...);
template <typename R, typename C, typename... A>
R (*callType(R (C::*)(A...)))
(C*, A...);
template <typename R, typename C, typename... A>
R (*callType(R (C::*)(A...) const))
(const C*, A...);

}  // namespace

#define PLATFORM_CALL(name, function) decltype(callType(&function)) name

// Every object whose size and layout the module compiles in, and the enumerations whose values
// and width it passes.
struct PlatformObjects {
    // built on the module's stack and handed to the context's constructor
    SecurityCertificate* certificate;
    SecurityKey* key;
    CertificateVerificationPolicy* verificationPolicy;
    OnlineCertStatusPolicy* onlineStatusPolicy;
    // allocated with the module's new and deleted through their virtual destructors
    SecureTransportContext* context;
    SecureConnection* connection;
    HttpClient* client;
    // on the module's stack
    Cryptographer* cryptographer;
    // caught by reference
    SecureTransportException* transportException;
    // read and written through the inline accessors
    MissedCallItem* missedCallItem;
    DialledCallItem* dialledCallItem;
    ReceivedCallItem* receivedCallItem;
    HttpClientIfc::HeaderMap* headers;
    HttpClientIfc::HTTPMETHOD method;
    HttpClientIfc::eStatusCode statusCode;
    HttpClientIfc::eResult result;
    SecureTransportContextIfc::eProtocolType protocol;
    Broadsoft::Filters::FilterTypes filter;
};

// Every platform function the module calls, constructors aside (their parameters are in their
// names), in the order of docs/integration.md's list, then the virtual functions.
struct PlatformCalls {
    PLATFORM_CALL(escapeXMLString, ClientUtils::escapeXMLString);
    PLATFORM_CALL(getStringBetweenKeywords, ClientUtils::getStringBetweenKeywords);
    PLATFORM_CALL(itos, ClientUtils::itos);
    PLATFORM_CALL(replaceSubstringInString, ClientUtils::replaceSubstringInString);
    PLATFORM_CALL(splitFilenameAndPath, ClientUtils::splitFilenameAndPath);
    PLATFORM_CALL(md5, Cryptographer::md5);
    PLATFORM_CALL(is_Gull_any, HardwareVersion::is_Gull_any);
    PLATFORM_CALL(is_Tern, HardwareVersion::is_Tern);
    PLATFORM_CALL(is_Wren_any, HardwareVersion::is_Wren_any);
    PLATFORM_CALL(setDestinationHost, HttpClient::setDestinationHost);
    PLATFORM_CALL(deserialize, Serializer::deserialize);
    PLATFORM_CALL(serialize, Serializer::serialize);
    PLATFORM_CALL(deleteDirectory, Storage::deleteDirectory);
    PLATFORM_CALL(fileExists_stat, Storage::fileExists_stat);
    PLATFORM_CALL(fileSize, Storage::fileSize);
    PLATFORM_CALL(makeDir, Storage::makeDir);
    // Taken as it is: deducing through callType would drop its printf format attribute with a warning.
    decltype(&::logAppQel) logAppQel;
    PLATFORM_CALL(loggingOnAppQel, ::loggingOnAppQel);
    PLATFORM_CALL(sendRequest, HttpClientIfc::sendRequest);
    PLATFORM_CALL(readResponse, HttpClientIfc::readResponse);
    PLATFORM_CALL(readMoreData, HttpClientIfc::readMoreData);
    PLATFORM_CALL(getRedirectHost, HttpClientIfc::getRedirectHost);
    PLATFORM_CALL(isUsable, SecureConnection::isUsable);
    PLATFORM_CALL(close, SecureConnection::close);
};

// abidiff matches data members by type and offset, not by name: two text members of CallInfo that
// traded places would pass, although the module reads the number and the call time by name. Each
// member here carries its offset in its type, so such a swap shows as a changed type.
template <std::size_t Offset>
struct At {};
#define CALL_INFO_MEMBER(member) At<offsetof(CallInfo, member)> member

struct CallInfoMembers {
    CALL_INFO_MEMBER(callId);
    CALL_INFO_MEMBER(remoteNumber);
    CALL_INFO_MEMBER(remoteName);
    CALL_INFO_MEMBER(lineId);
    CALL_INFO_MEMBER(duration);
    CALL_INFO_MEMBER(callTime);
    CALL_INFO_MEMBER(callInfoMode);
};

extern "C" __attribute__((visibility("default"))) void fritzbox_platform_abi_probe(const PlatformObjects*,
                                                                                   const PlatformCalls*,
                                                                                   const CallInfoMembers*) {}

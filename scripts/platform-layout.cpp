// Prints the sizes and layouts of the platform objects whose memory the module itself allocates
// or reads, as our platform headers define them. The module compiles these layouts in: it
// allocates SecureTransportContext, SecureConnection and HttpClient with `new`, builds the
// certificate, key, policy and Cryptographer objects on its stack, and reads and writes the call
// items through inline accessors. The firmware's headers must give the same figures, or its
// constructors write outside the module's allocation. docs/integration.md carries the 32-bit ARM
// table, which the ARM build compares with this output.
#include <sys/types.h>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <list>
#include <map>
#include <string>
#include <type_traits>
#include <utility>

#include "CallItems.h"
#include "Cryptographer.h"
#include "HttpClient.h"
#include "SecureTransport.h"

namespace {

// The members the module reads and writes through the inline accessors.
#define MEMBER(name) \
    { #name, offsetof(CallInfo, name) }
const std::pair<const char*, std::size_t> kCallInfoMembers[] = {
    MEMBER(callId),   MEMBER(remoteNumber), MEMBER(remoteName),  MEMBER(lineId),
    MEMBER(duration), MEMBER(callTime),     MEMBER(callInfoMode)};

template <typename T>
void row(const char* name) {
    std::printf("%-36s size %3zu  align %zu%s\n", name, sizeof(T), alignof(T),
                std::is_polymorphic<T>::value ? "  (vtable pointer first)" : "");
}

const char* floatAbi() {
#if defined(__arm__) && defined(__ARM_PCS_VFP)
    return "hard (VFP registers)";
#elif defined(__arm__)
    return "soft (core registers)";
#else
    return "not ARM";
#endif
}

}  // namespace

int main() {
    std::printf("pointer %zu, long %zu, time_t %zu, off_t %zu, float ABI %s, std::string ABI %s\n", sizeof(void*),
                sizeof(long), sizeof(std::time_t), sizeof(off_t), floatAbi(),
                _GLIBCXX_USE_CXX11_ABI ? "C++11 (std::__cxx11)" : "pre-C++11 (copy on write)");
    std::printf("std::string %zu, std::list %zu, std::multimap %zu\n", sizeof(std::string), sizeof(std::list<CallInfo>),
                sizeof(HttpClientIfc::HeaderMap));
    row<SecurityCertificate>("SecurityCertificate");
    row<SecurityKey>("SecurityKey");
    row<CertificateVerificationPolicy>("CertificateVerificationPolicy");
    row<OnlineCertStatusPolicy>("OnlineCertStatusPolicy");
    row<SecureTransportContext>("SecureTransportContext");
    row<SecureConnection>("SecureConnection");
    row<HttpClient>("HttpClient");
    row<Cryptographer>("Cryptographer");
    row<SecureTransportException>("SecureTransportException");
    row<CallInfo>("CallInfo");
    for (const auto& [name, offset] : kCallInfoMembers) {
        std::printf("    %-32s offset %3zu\n", name, offset);
    }
    row<MissedCallItem::MissedCallInfo>("MissedCallItem::MissedCallInfo");
    row<DialledCallItem::DialledCallInfo>("DialledCallItem::DialledCallInfo");
    row<ReceivedCallItem::ReceivedCallInfo>("ReceivedCallItem::ReceivedCallInfo");
    row<CallItem>("CallItem");
    row<CallItemWithPicture>("CallItemWithPicture");
    row<MissedCallItem>("MissedCallItem");
    row<DialledCallItem>("DialledCallItem");
    row<ReceivedCallItem>("ReceivedCallItem");
    return 0;
}

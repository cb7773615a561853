// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Equivalent: a transport context that copies the certificates, key and cipher list it is given
// (a TLS platform keeps its own copies) and frees them with itself.
#include <map>
#include <memory>
#include <mutex>

#include "Real.h"

namespace {
struct Copies {
    SecurityCertificate client, authority;
    SecurityKey key;
    std::string ciphers;
};
std::mutex guard;
std::map<const SecureTransportContext*, std::unique_ptr<Copies>> copiesOf;
}  // namespace

SecureTransportContext::SecureTransportContext(const SecurityCertificate& clientCertificate,
                                               const SecurityKey& clientKey,
                                               const SecurityCertificate& authorityCertificate, eProtocolType protocol,
                                               const CertificateVerificationPolicy* verificationPolicy,
                                               const OnlineCertStatusPolicy* onlineStatusPolicy,
                                               const std::string& cipherList) {
    real::constructContext(this, clientCertificate, clientKey, authorityCertificate, protocol, verificationPolicy,
                           onlineStatusPolicy, cipherList);
    const std::lock_guard<std::mutex> lock(guard);
    copiesOf[this].reset(new Copies{clientCertificate, authorityCertificate, clientKey, cipherList});
}

// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A transport context that keeps a pointer to the authority certificate it was given and reads it
// again for each connection: the module's certificate is a local that is gone by then.
#include <map>
#include <mutex>

#include "Real.h"

namespace {
std::mutex guard;
std::map<const SecureTransportContext*, const SecurityCertificate*> authorityOf;
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
    authorityOf[this] = &authorityCertificate;
}

SecureConnection::SecureConnection(SecureTransportContext& context, const std::string& host, const std::string& port,
                                   unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds, bool plainText) {
    {
        const std::lock_guard<std::mutex> lock(guard);
        const auto kept = authorityOf.find(&context);
        if (kept != authorityOf.end()) {
            volatile std::size_t length = kept->second->pem().size();
            static_cast<void>(length);
        }
    }
    real::constructConnection(this, context, host, port, connectTimeoutSeconds, ioTimeoutSeconds, plainText);
}

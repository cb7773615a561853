// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A transport context that refuses to be made without a certificate authority, as a TLS-only
// platform might; the module passes none for plain HTTP.
#include "Real.h"

SecureTransportContext::SecureTransportContext(const SecurityCertificate& clientCertificate,
                                               const SecurityKey& clientKey,
                                               const SecurityCertificate& authorityCertificate, eProtocolType protocol,
                                               const CertificateVerificationPolicy* verificationPolicy,
                                               const OnlineCertStatusPolicy* onlineStatusPolicy,
                                               const std::string& cipherList) {
    if (authorityCertificate.empty()) {
        throw SecureTransportException("no certificate authority");
    }
    real::constructContext(this, clientCertificate, clientKey, authorityCertificate, protocol, verificationPolicy,
                           onlineStatusPolicy, cipherList);
}

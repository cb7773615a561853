// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Transport objects of the host platform: one context holds the security settings, one connection
// carries any number of HTTP exchanges to one host until either side closes it.
//
// The phone's platform offers TLS through the same classes; the router is spoken to in plain
// HTTP on port 80, which is what the `plainText` flag of SecureConnection selects.
//
// How the module uses them, and what it therefore relies on:
// - It builds the certificates, the key and the two policies as locals, creates the context and
//   the connection from them with `new` (our sizeof), and keeps both between requests; the locals
//   die when that call returns.
// - Only SecureTransportException, caught by const reference around the two constructors, is
//   handled. Any other exception from them (GPALException itself, std::runtime_error, ...) and any
//   exception from the virtual operations or the destructors leaves FritzBox::sync().
// - It drops them in this order: the context is deleted first, then the connection is asked
//   isUsable(), closed if it is, and deleted. A connection must not touch its context after its
//   constructor.
#include <string>

#include "GPALException.h"

// Thrown when a transport object cannot be built: unknown host, refused connection, time-out,
// or a setting the platform does not support. The only exception the module catches: its what()
// is logged with %s, so it is never null.
class SecureTransportException : public GPALException {
public:
    explicit SecureTransportException(const std::string& message) : GPALException(message) {}
};

// A certificate in PEM form; default-constructed it is empty (no certificate).
class SecurityCertificate {
public:
    SecurityCertificate() = default;
    explicit SecurityCertificate(std::string pem) : m_pem(std::move(pem)) {}
    const std::string& pem() const { return m_pem; }
    bool empty() const { return m_pem.empty(); }

private:
    std::string m_pem;
};

// A private key in PEM form and its pass phrase; two empty strings mean no key.
class SecurityKey {
public:
    SecurityKey(std::string pem, std::string passPhrase) : m_pem(std::move(pem)), m_passPhrase(std::move(passPhrase)) {}
    const std::string& pem() const { return m_pem; }
    const std::string& passPhrase() const { return m_passPhrase; }
    bool empty() const { return m_pem.empty(); }

private:
    std::string m_pem;
    std::string m_passPhrase;
};

// How a peer certificate is checked; the default checks nothing beyond what the protocol does.
class CertificateVerificationPolicy {
public:
    CertificateVerificationPolicy() = default;
    bool verifyPeer() const { return m_verifyPeer; }
    void setVerifyPeer(bool verify) { m_verifyPeer = verify; }

private:
    bool m_verifyPeer = false;
};

// Factories the OCSP check would use to build its requests and parse answers.
class OcspRequestFactory;
class OcspResponseFactory;

// Online revocation checking; with two null factories it is off.
class OnlineCertStatusPolicy {
public:
    OnlineCertStatusPolicy(OcspRequestFactory* requestFactory, OcspResponseFactory* responseFactory)
        : m_requestFactory(requestFactory), m_responseFactory(responseFactory) {}
    bool enabled() const { return m_requestFactory != nullptr && m_responseFactory != nullptr; }

private:
    OcspRequestFactory* m_requestFactory;
    OcspResponseFactory* m_responseFactory;
};

class SecureTransportContextIfc {
public:
    // Highest protocol version the context will negotiate.
    enum eProtocolType { eSSLv3 = 0, eTLSv1_0 = 1, eTLSv1_1 = 2, eTLSv1_2 = 3 };
    virtual ~SecureTransportContextIfc() = default;
};

// The security settings shared by the connections made from it. It reads its arguments in the
// constructor only and keeps no pointer or reference to the certificates, the key or the policies:
// the module's are locals that die right after the constructor, while the context lives on.
// The module passes empty certificates, SecurityKey("", ""), eTLSv1_2, a default verification
// policy, OnlineCertStatusPolicy(nullptr, nullptr) and an empty cipher list; the constructor
// accepts them and throws nothing but SecureTransportException. Deleting the context frees
// everything it holds.
class SecureTransportContext : public SecureTransportContextIfc {
public:
    SecureTransportContext(const SecurityCertificate& clientCertificate, const SecurityKey& clientKey,
                           const SecurityCertificate& authorityCertificate, eProtocolType protocol,
                           const CertificateVerificationPolicy* verificationPolicy,
                           const OnlineCertStatusPolicy* onlineStatusPolicy, const std::string& cipherList);
    ~SecureTransportContext() override;

    eProtocolType protocol() const { return m_protocol; }
    bool verifyPeer() const { return m_verifyPeer; }

private:
    eProtocolType m_protocol;
    bool m_verifyPeer;
};

class SecureConnectionImpl;

// One kept connection to `host`:`port`. The constructor resolves the host (through the platform's
// host-name mapping first) and connects; it throws SecureTransportException, and nothing else,
// when that fails (unknown host, refused, time-out). `connectTimeoutSeconds` bounds the connect
// and the name lookup, `ioTimeoutSeconds` every later send or receive (the module passes 5 and 5).
// `plainText` true is plain TCP, no TLS byte on the wire; false would ask for TLS. The connection
// carries any number of exchanges, also to other hosts (see HttpClient::setDestinationHost).
// Deleting it frees its socket and memory: the module drops and rebuilds connections routinely.
class SecureConnection {
public:
    SecureConnection(SecureTransportContext& context, const std::string& host, const std::string& port,
                     unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds, bool plainText);
    virtual ~SecureConnection();
    SecureConnection(const SecureConnection&) = delete;
    SecureConnection& operator=(const SecureConnection&) = delete;

    // True for an open connection with nothing pending, also after a complete keep-alive exchange,
    // so that the login and the fetches share it. False once close() was called, an I/O error
    // happened, an answer ended the connection (Connection: close, HTTP/1.0), or the peer closed
    // or reset it while it was idle, without anyone reading: the module asks before and after
    // every exchange and does not retry a request that went out over a dead connection. Asking
    // consumes and closes nothing; it does not throw.
    virtual bool isUsable() const;
    // Closes the connection; it is unusable afterwards. The module calls it only while the
    // connection is usable, after the context is gone; it does not throw.
    virtual void close();

    const std::string& host() const;
    const std::string& port() const;
    // The platform's own state of this connection (used by HttpClient only).
    SecureConnectionImpl& impl() { return *m_impl; }

private:
    SecureConnectionImpl* m_impl;
};

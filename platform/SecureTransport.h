#pragma once
// Transport objects of the host platform: one context holds the security settings, one connection
// carries any number of HTTP exchanges to one host until either side closes it.
//
// The phone's platform offers TLS through the same classes; the router is spoken to in plain
// HTTP on port 80, which is what the `plainText` flag of SecureConnection selects.
#include <string>

#include "GPALException.h"

// Thrown when a transport object cannot be built: unknown host, refused connection, time-out,
// or a setting the platform does not support.
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

// The security settings shared by the connections made from it. It keeps pointers to the two
// policies, which must outlive the constructor call only.
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
// host-name mapping first) and connects; it throws SecureTransportException when that fails.
// `connectTimeoutSeconds` bounds the connect, `ioTimeoutSeconds` every later send or receive.
// `plainText` true is plain TCP; false would ask for TLS.
class SecureConnection {
public:
    SecureConnection(SecureTransportContext& context, const std::string& host, const std::string& port,
                     unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds, bool plainText);
    virtual ~SecureConnection();
    SecureConnection(const SecureConnection&) = delete;
    SecureConnection& operator=(const SecureConnection&) = delete;

    // False once the peer closed the connection, an I/O error happened, or close() was called.
    virtual bool isUsable() const;
    // Closes the connection; it is unusable afterwards.
    virtual void close();

    const std::string& host() const;
    const std::string& port() const;
    // The platform's own state of this connection (used by HttpClient only).
    SecureConnectionImpl& impl() { return *m_impl; }

private:
    SecureConnectionImpl* m_impl;
};

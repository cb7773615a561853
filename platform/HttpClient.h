// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The host's HTTP client. One client carries one exchange (a request and its response) over a
// kept SecureConnection; the connection outlives the client.
//
// How the module uses it, and what it therefore relies on:
// - It creates a client with `new` (our sizeof), names the host, sends, reads the whole body and
//   asks for the redirect host, then deletes the client before it looks at the connection again.
//   A redirect is followed with a new client over the same connection.
// - None of the operations below, nor the destructor, throws: failures are results. The module
//   catches nothing around them, so an exception would leave FritzBox::sync() (an unreachable
//   redirect host, for instance, is a FAILURE of sendRequest).
// - Every wait is bounded: the module runs on the service's thread and blocks it.
#include <cstddef>
#include <map>
#include <string>

class SecureConnection;

class HttpClientIfc {
public:
    enum HTTPMETHOD { GET = 0, POST = 1, PUT = 2, DELETE = 3, HEAD = 4 };

    // The numeric HTTP status of a response; 0 when none was received. Any status number the
    // server sends is carried, the named ones are those callers commonly test.
    enum eStatusCode {
        eStatusNone = 0,
        eStatusOk = 200,
        eStatusCreated = 201,
        eStatusNoContent = 204,
        eStatusMovedPermanently = 301,
        eStatusFound = 302,
        eStatusSeeOther = 303,
        eStatusNotModified = 304,
        eStatusTemporaryRedirect = 307,
        eStatusBadRequest = 400,
        eStatusForbidden = 403,
        eStatusNotFound = 404,
        eStatusInternalServerError = 500,
        eStatusMax = 999
    };

    // Results of the send and read operations. The module compares with these exact values: any
    // result other than FAILURE counts as sent, and any read result other than FAILURE and
    // MORE_DATA as a complete body, so a failure must be exactly 1 and "more remains" exactly 2.
    enum eResult { SUCCESS = 0, FAILURE = 1, MORE_DATA = 2 };

    using HeaderMap = std::multimap<std::string, std::string>;

    virtual ~HttpClientIfc() = default;

    // Sends one request over `connection` to the host named by setDestinationHost. `method` is GET
    // or POST from the module; exactly `bodyLength` bytes of `body` are sent (the multipart form of
    // the phonebook export), and `headers` go out as given (the form's Content-Type with its
    // boundary). `path` is handed over raw, as the router's export wrote it (blanks, "&", even line
    // breaks): "?", "&", "=", "/" and "%" keep their meaning, and no byte of it may end the request
    // line (encode it or refuse the request). `timeoutSeconds` 0 keeps the connection's own
    // time-outs, never an unbounded wait. `authUser`/`authPassword` add basic authentication when
    // the user is not empty (the module passes two empty strings: no Authorization header).
    // `keepAlive` 1 asks the server to keep the connection open; `followRedirects` 1 would let the
    // client follow redirects itself (the module passes 0: a 3xx answer is reported, never
    // followed, and its target read through getRedirectHost()).
    // Returns SUCCESS or FAILURE (exactly 1, see eResult).
    virtual int sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int followRedirects) = 0;

    // Reads the response status, headers and at most `maxResponseLength` bytes of the body (the
    // module asks for 204800 per read). `responseData` and `responseHeaders` are replaced, not
    // appended to, by what this response brings: after a redirect the module passes the string that
    // still holds the redirect's body. `statusCode` receives the status of the final answer (1xx
    // answers are skipped), whatever its number (201, 303, 404, 500, ...); the bodies of 3xx and
    // 404 answers are delivered, those of 204 and 304 are empty. `totalLength` receives the whole
    // body's length when known, else -1 (the module only reserves memory by it). Returns MORE_DATA
    // while body bytes remain, SUCCESS when the body is complete, FAILURE when no usable response
    // arrived (exactly 2 and 1, see eResult).
    virtual int readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) = 0;

    // Appends the next at most `maxLength` body bytes to `data`; results as readResponse. The
    // module calls it while the last result was MORE_DATA, with no bound of its own, so it must
    // end: the pieces of all reads together are exactly the body (Content-Length, chunked, or up
    // to the close), and then the result is SUCCESS or FAILURE.
    virtual int readMoreData(SecureConnection* connection, std::string& data, int maxLength) = 0;

    // The host named by the last response's Location header, bare: no scheme, user, port or path,
    // and an IPv6 address without brackets (the module connects to it on port 80 with the same
    // path). Empty when the answer had no Location or a relative one. Asked after every exchange,
    // also after a failed read.
    virtual std::string getRedirectHost() = 0;
};

class HttpClientState;

class HttpClient : public HttpClientIfc {
public:
    // Constructed with the module's `new`, so within our sizeof; it does not throw.
    HttpClient();
    // The module deletes the client while the connection it used still exists (the connection
    // outlives its clients), through the virtual destructor; it frees everything and throws nothing.
    ~HttpClient() override;
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    // The host and port the next request goes to (and names in its Host header): the router's
    // name or a bare redirect host (a name, an IPv4 or an IPv6 address without brackets), port
    // "80". The request reaches that host even when the connection given to sendRequest was
    // opened to another one (reconnect as needed): the module keeps one connection for every
    // request, follows a redirect to another host over it, and sends the next request to the
    // router over it again, which must then reach the router.
    void setDestinationHost(const std::string& host, const std::string& port);

    int sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                    const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                    const std::string& authPassword, int keepAlive, int followRedirects) override;
    int readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                     eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) override;
    int readMoreData(SecureConnection* connection, std::string& data, int maxLength) override;
    std::string getRedirectHost() override;

private:
    HttpClientState* m_state;
};

#pragma once
// The host's HTTP client. One client carries one exchange (a request and its response) over a
// kept SecureConnection; the connection outlives the client.
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

    // Results of the send and read operations.
    enum eResult { SUCCESS = 0, FAILURE = 1, MORE_DATA = 2 };

    using HeaderMap = std::multimap<std::string, std::string>;

    virtual ~HttpClientIfc() = default;

    // Sends one request over `connection`. `timeoutSeconds` 0 keeps the connection's own
    // time-outs. `authUser`/`authPassword` add basic authentication when the user is not empty.
    // `keepAlive` 1 asks the server to keep the connection open; `followRedirects` 1 would let the
    // client follow redirects itself (0: report them to the caller through getRedirectHost()).
    // Returns SUCCESS or FAILURE.
    virtual int sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int followRedirects) = 0;

    // Reads the response status, headers and at most `maxResponseLength` bytes of the body.
    // `responseData` and `responseHeaders` are replaced by what this response brings. `totalLength` receives the whole
    // body's length when known, else -1. Returns MORE_DATA while body bytes remain, SUCCESS when the body is complete,
    // FAILURE when no usable response arrived.
    virtual int readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) = 0;

    // Appends the next at most `maxLength` body bytes to `data`; results as readResponse.
    virtual int readMoreData(SecureConnection* connection, std::string& data, int maxLength) = 0;

    // The host named by the last response's Location header; empty when it had none.
    virtual std::string getRedirectHost() = 0;
};

class HttpClientState;

class HttpClient : public HttpClientIfc {
public:
    HttpClient();
    ~HttpClient() override;
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    // The host and port that the request names (its Host header). The bytes go over the
    // connection given to sendRequest, whatever host it was opened to.
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

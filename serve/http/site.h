// What an HTTP server serves: requests in, answers out. The server has checked and decoded what a site sees.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace diskmgt::serve {

struct SiteRequest {
    std::string method;                          // HEAD comes as GET: the server leaves the body out
    std::string path;                            // without the query, percent-decoded; begins with '/', or is "*"
    std::string query;                           // as sent, without the '?'
    std::string body;                            // whole, and without its chunks
    std::map<std::string, std::string> headers;  // lower-case names; values of one name joined with ", "; no password
};

struct SiteAnswer {
    unsigned status = 200;
    std::string contentType;
    /// The server adds Date, Content-Length, Connection, ETag, Vary, Content-Encoding and what guards a browser.
    /// Cache-Control is added unless it is here: "no-cache" beside an etag, else "no-store".
    std::vector<std::pair<std::string, std::string>> headers;
    /// Null: empty. Its compressed form is kept as long as the text is, so equal answers share one object.
    std::shared_ptr<const std::string> body;
    std::string etag;  // without quotes; empty: none
    bool mayCompress = true;
};

class Site {
public:
    Site() = default;
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;
    virtual ~Site() = default;
    /// `done` is called exactly once, at once or later, on the server's thread. An exception is answered with 500.
    virtual void answer(const SiteRequest& request, std::function<void(SiteAnswer)> done) = 0;
};

}  // namespace diskmgt::serve

#include "serve/front/inventory_site.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "serve/cimxml/operations.h"
#include "serve/front/snapshot.h"
#include "terminal/remarks.h"
#include "text/wording.h"

namespace diskmgt::serve {

namespace {

constexpr std::size_t kMostUnsent = std::size_t{192} << 20;  // of CIM answers; the process may have 1 GiB

/// Counted until the last client that it goes to has it.
struct CountedText {
    CountedText(std::string whole, std::shared_ptr<std::size_t> counter)
        : text(std::move(whole)), sum(std::move(counter)) {
        *sum += text.size();
    }
    CountedText(const CountedText&) = delete;
    CountedText& operator=(const CountedText&) = delete;
    ~CountedText() { *sum -= text.size(); }

    const std::string text;
    const std::shared_ptr<std::size_t> sum;
};

SiteAnswer plain(unsigned status, const std::string& sentence) {
    SiteAnswer answer;
    answer.status = status;
    answer.contentType = "text/plain; charset=utf-8";
    answer.body = std::make_shared<const std::string>(sentence + "\n");
    return answer;
}

SiteAnswer notYet(const std::string& why) {
    SiteAnswer answer = plain(503, why);
    answer.headers.emplace_back("Retry-After", "1");
    return answer;
}

/// Of RFC 9110 and RFC 5789. HEAD arrives here as GET, and CONNECT does not arrive.
bool isKnownMethod(const std::string& method) {
    static const std::vector<std::string> known = {"GET", "POST", "PUT", "DELETE", "OPTIONS", "TRACE", "PATCH"};
    return contains(known, method);
}

}  // namespace

struct InventorySite::Page {
    enum class Kind { kText, kHealth, kCim };

    const char* path;
    const char* method;
    Kind kind;
    const char* contentType;
    std::shared_ptr<const std::string> Snapshot::*text;
};

const InventorySite::Page* InventorySite::pageAt(const std::string& path) {
    static const Page pages[] = {
        {"/", "GET", Page::Kind::kText, "text/html; charset=utf-8", &Snapshot::page},
        {"/inventory.json", "GET", Page::Kind::kText, "application/json", &Snapshot::json},
        {"/metrics", "GET", Page::Kind::kText, "text/plain; version=0.0.4; charset=utf-8", &Snapshot::metrics},
        {"/healthz", "GET", Page::Kind::kHealth, "", nullptr},
        {"/cimom", "POST", Page::Kind::kCim, "", nullptr},
    };
    for (const Page& page : pages)
        if (path == page.path) return &page;
    return nullptr;
}

void InventorySite::answer(const SiteRequest& request, std::function<void(SiteAnswer)> done) {
    ++requestCount;
    const Page* const page = pageAt(request.path);
    if (page == nullptr)
        return done(plain(404, "There is nothing here; see /, /inventory.json, /metrics, /healthz, /cimom."));
    // Clients that begin with M-POST go on with POST then.
    if (!isKnownMethod(request.method)) return done(plain(501, "This method is not offered here."));
    if (request.method != page->method) {
        SiteAnswer refusal = plain(405, std::string("Use ") + page->method + " here.");
        const bool isRead = std::string(page->method) == "GET";
        refusal.headers.emplace_back("Allow", isRead ? "GET, HEAD" : page->method);
        return done(std::move(refusal));
    }
    std::string body = page->kind == Page::Kind::kCim ? request.body : "";
    const Wanted wanted = page->kind == Page::Kind::kCim ? Wanted::kInstances : Wanted::kDocuments;
    freshness.whenFresh(wanted, [this, page, sent = std::move(body), answered = std::move(done)](bool isFresh) {
        switch (page->kind) {
            case Page::Kind::kText:
                return answered(textAnswer(*page));
            case Page::Kind::kHealth:
                return answered(healthAnswer(isFresh));
            case Page::Kind::kCim:
                return answered(cimAnswer(sent));
        }
    });
}

void InventorySite::addAge(SiteAnswer& answer, Wanted wanted) const {
    if (const auto seconds = freshness.ageSeconds(wanted)) answer.headers.emplace_back("Age", std::to_string(*seconds));
}

SiteAnswer InventorySite::textAnswer(const Page& page) const {
    const std::shared_ptr<const Snapshot>& snapshot = freshness.snapshot();
    if (!snapshot) return notYet("Nothing is known yet: " + freshness.whyNotFresh() + ".");
    SiteAnswer answer;
    answer.contentType = page.contentType;
    answer.body = (*snapshot).*page.text;
    answer.etag = snapshot->tag;
    addAge(answer, Wanted::kDocuments);
    return answer;
}

SiteAnswer InventorySite::healthAnswer(bool isFresh) const {
    const std::shared_ptr<const Snapshot>& snapshot = freshness.snapshot();
    const bool isWell = isFresh && snapshot && snapshot->stall.empty();
    SiteAnswer answer = isWell ? plain(200, "ok") : notYet(isFresh ? snapshot->stall : freshness.whyNotFresh() + ".");
    addAge(answer, Wanted::kDocuments);
    return answer;
}

std::shared_ptr<const std::string> InventorySite::counted(std::string text) const {
    const auto whole = std::make_shared<const CountedText>(std::move(text), unsentBytes);
    return {whole, &whole->text};
}

void InventorySite::sayDuplicates(const InstanceSnapshot& instances) {
    constexpr std::size_t kMostNamed = 100;
    for (const std::string& path : instances.store().duplicates())
        if (saidTwice.size() < kMostNamed && saidTwice.insert(path).second)
            writeRemark("two instances have the path " + path + "; the first is served");
}

SiteAnswer InventorySite::cimAnswer(const std::string& body) {
    const std::shared_ptr<const InstanceSnapshot>& instances = freshness.instances();
    if (instances && instances->head().beginning.steadyNs != lookedThroughNs) {
        lookedThroughNs = instances->head().beginning.steadyNs;
        sayDuplicates(*instances);
    }
    CimReply reply = answerCim(body, declarations, instances ? &instances->store() : nullptr,
                               instances ? instances->head().systemName : "localhost",
                               instances ? "" : "nothing is known yet: " + freshness.whyNotFresh());
    if (*unsentBytes + reply.body.size() > kMostUnsent)
        return notYet("Other clients have not taken their large answers yet; ask again.");
    SiteAnswer answer;
    answer.status = reply.httpStatus;
    const bool isSentence = !reply.cimError.empty();
    answer.contentType = isSentence ? "text/plain; charset=utf-8" : "application/xml; charset=\"utf-8\"";
    answer.headers.emplace_back("CIMOperation", "MethodResponse");
    if (isSentence) answer.headers.emplace_back("CIMError", reply.cimError);
    answer.body = counted(std::move(reply.body));
    addAge(answer, Wanted::kInstances);
    return answer;
}

}  // namespace diskmgt::serve

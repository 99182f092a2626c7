// What the endpoint serves on which path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"
#include "serve/front/freshness.h"
#include "serve/http/site.h"

namespace diskmgt::serve {

class InventorySite : public Site {
public:
    /// Both must outlive the site.
    InventorySite(Freshness& theFreshness, const std::vector<refhost::ClassDeclaration>& declared)
        : freshness(theFreshness), declarations(declared) {}

    void answer(const SiteRequest& request, std::function<void(SiteAnswer)> done) override;
    /// How many there were, wrong ones too.
    std::uint64_t requests() const { return requestCount; }

private:
    struct Page;
    static const Page* pageAt(const std::string& path);

    SiteAnswer textAnswer(const Page& page) const;
    SiteAnswer healthAnswer(bool isFresh) const;
    SiteAnswer cimAnswer(const std::string& body);
    void sayDuplicates(const InstanceSnapshot& instances);
    std::shared_ptr<const std::string> counted(std::string text) const;
    void addAge(SiteAnswer& answer, Wanted wanted) const;

    Freshness& freshness;
    const std::vector<refhost::ClassDeclaration>& declarations;
    std::uint64_t requestCount = 0;
    std::int64_t lookedThroughNs = 0;  // when the collection began that was looked through for duplicates
    std::set<std::string> saidTwice;   // over all collections
    const std::shared_ptr<std::size_t> unsentBytes = std::make_shared<std::size_t>(0);  // of CIM answers
};

}  // namespace diskmgt::serve

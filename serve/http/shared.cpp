#include "serve/http/shared.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "serve/http/answer_head.h"
#include "serve/http/connection.h"
#include "serve/http/request_rules.h"

namespace diskmgt::serve {

namespace {

std::vector<std::string> comparable(const std::vector<std::string>& names) {
    std::vector<std::string> hosts;
    std::transform(names.begin(), names.end(), std::back_inserter(hosts), &comparableHost);
    return hosts;
}

}  // namespace

Shared::Shared(Site& theSite, ServerSettings settings)
    : site(theSite),
      limits(settings.limits),
      serverNames(comparable(settings.serverNames)),
      product(std::move(settings.product)),
      logSink(std::move(settings.log)),
      failedAttempts({limits.failedAddresses, limits.failuresUnpunished, limits.firstPause, limits.longestPause}),
      checker(limits.passwordsWaiting) {
    use(settings.secrets);
}

void Shared::use(const Secrets& secrets) {
    TlsContext context = makeTlsContext(secrets);
    auto checked = secrets.credentials ? std::make_shared<const Credentials>(*secrets.credentials) : nullptr;
    tls = std::move(context);
    credentials = std::move(checked);
}

const std::string& Shared::date() {
    const std::time_t moment = std::time(nullptr);
    if (moment != dateMoment) dateText = httpDate(moment);
    dateMoment = moment;
    return dateText;
}

}  // namespace diskmgt::serve

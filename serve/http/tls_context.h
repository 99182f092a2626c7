// TLS as the server speaks it: 1.2 and 1.3, from PEM texts.
#pragma once

#include <memory>

#include "serve/http/server_settings.h"

struct ssl_ctx_st;  // SSL_CTX

namespace diskmgt::serve {

struct TlsContextDeleter {
    void operator()(ssl_ctx_st* context) const noexcept;
};
using TlsContext = std::unique_ptr<ssl_ctx_st, TlsContextDeleter>;

/// Null without a certificate. Throws `SettingsError`.
TlsContext makeTlsContext(const Secrets& secrets);

/// Lets a client of either version shake hands with it in memory, so that the library has set up what it does at the
/// first use. Null: with one that has no certificate.
void rehearseHandshakes(ssl_ctx_st* context);

}  // namespace diskmgt::serve

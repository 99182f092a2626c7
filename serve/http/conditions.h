// What a client has already, and which encodings it reads: If-None-Match and Accept-Encoding. Pure.
#pragma once

#include <string_view>

namespace diskmgt::serve {

/// Whether one of the header's tags is this one, strong or weak, of the plain or of the compressed text; or it is "*".
/// What cannot be read matches nothing.
bool matchesEtag(std::string_view ifNoneMatch, std::string_view etag);
/// What is appended to the tag of a text that is sent compressed.
constexpr std::string_view kCompressedTag = "-gzip";

bool acceptsGzip(std::string_view acceptEncoding);

}  // namespace diskmgt::serve

// Reads MOF text: qualifier and class declarations without methods.
#pragma once

#include <string>
#include <string_view>

#include "plugin/host/tal_api.h"
#include "refhost/schema/mof_document.h"

namespace refhost {

/// What the text declares. Key words ignore case; default values are read and dropped. For any other bytes throws
/// `TTALException` naming `sourceName`, the line and what is wrong.
TAL_API MofDocument parseMof(std::string_view text, const std::string& sourceName);

}  // namespace refhost

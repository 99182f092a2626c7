// How the page looks.
#pragma once

namespace diskmgt_cli {

/// A style sheet: light and dark as the reader's system is set, and fit for paper.
extern const char* const kPageStyle;

}  // namespace diskmgt_cli

// How the page looks.
#pragma once

namespace diskmgt {

/// A style sheet: light and dark as the reader's system is set, and fit for paper.
extern const char* const kPageStyle;

}  // namespace diskmgt

// The one line on a terminal about work that takes long. It is gone when the work is done or something else is said.
#pragma once

#include <string>

namespace diskmgt::progress_line {

/// Whether standard error is a terminal on which a line can be replaced.
bool isWelcome();

/// Takes the place of what was shown before; cut to the width of the terminal.
void show(const std::string& text);
/// Of no effect when nothing is shown.
void erase();

}  // namespace diskmgt::progress_line

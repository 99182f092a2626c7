// One line on a terminal about work that takes long. It is gone when the work is done.
#pragma once

#include <string>

namespace diskmgt_cli {

class ProgressLine {
public:
    /// Whether standard error is a terminal on which a line can be replaced.
    static bool isWelcome();

    /// Takes the place of what was shown before; cut to the width of the terminal.
    void show(const std::string& text);
    void erase();

private:
    bool isShown = false;
};

}  // namespace diskmgt_cli

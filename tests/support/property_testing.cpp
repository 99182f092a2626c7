// Settings of all property tests, however the program is started: 400 cases, no shrinking. A failing property then
// ends at once instead of after minutes, and says how to reproduce it; RC_PARAMS="noshrink=0 ..." shrinks that case.
// Settings in RC_PARAMS take precedence.
#include <cstdlib>
#include <string>

namespace {

const bool isSet = [] {
    const char* const given = std::getenv("RC_PARAMS");
    std::string settings = given == nullptr ? "" : given;
    for (const std::string name : {"max_success", "noshrink"}) {
        if (settings.find(name) == std::string::npos) settings += " " + name + (name == "noshrink" ? "=1" : "=400");
    }
    return setenv("RC_PARAMS", settings.c_str(), 1) == 0;
}();

}  // namespace

// A host program that is not linked with the host's libraries and opens them with local visibility.
// `local_host PLUGIN HOST`, HOST a library linked with the host's.
#include <dlfcn.h>

#include <iostream>

#include "tests/contract/hosts/host_run.h"

int main(int count, char** words) {
    if (count != 3) return 2;
    void* const host = dlopen(words[2], RTLD_NOW | RTLD_LOCAL);
    void* const run = host == nullptr ? nullptr : dlsym(host, "runPluginInThisHost");
    if (run == nullptr) {
        std::cerr << "local_host: " << dlerror() << '\n';
        return 1;
    }
    reinterpret_cast<decltype(&runPluginInThisHost)>(run)(words[1]);
    return 0;
}

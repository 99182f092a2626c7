// A host whose program is linked with none of its libraries, and opens them for itself alone.
// `local_host PLUGIN HOST`, HOST a library that is linked with the host's.
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

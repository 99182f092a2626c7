// A host program that is linked with the host's libraries. `linked_host PLUGIN`.
#include "tests/contract/hosts/host_run.h"

int main(int count, char** words) {
    if (count != 2) return 2;
    runPluginInThisHost(words[1]);
    return 0;
}

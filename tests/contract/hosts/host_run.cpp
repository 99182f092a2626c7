// One request in one host.
#include "tests/contract/hosts/host_run.h"

#include <dlfcn.h>

#include <fstream>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "tests/contract/second_host/host.h"
#include "tests/contract/second_host/model.h"

namespace {

using second_host::Call;
using second_host::Refusal;
using second_host::SecondHost;

const char* const kPresent = "VEXSG_PartitionPresent";

/// Two pairs, of which the host refuses the first: exceptions cross the boundary too.
void requestPairs(SecondHost& host) {
    const auto nameSpace = second_host::Namespace::create();
    nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
    for (const char* id : {"/dev/sdq1", "/dev/sdq2"}) nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", id}});
    int commits = 0;
    host.refuse([&](const Call& call) {
        return call.operation == "CommitToClass" && ++commits == 1 ? Refusal::kTalException : Refusal::kNone;
    });
    std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>> classes = {nameSpace->find(kPresent)};
    dynamic_cast<NVEXTAL20::IPluginBasicQueryCallbacks&>(*host.plugin()).GetData(nameSpace, classes);
    std::cout << "published " << nameSpace->instances(kPresent).size() << '\n';
    for (const second_host::LogLine& line : host.log()) std::cout << "logged " << line.text << '\n';
}

void printMappedFiles() {
    std::ifstream maps("/proc/self/maps");
    std::set<std::string> files;
    for (std::string line; std::getline(maps, line);) {
        const auto path = line.find('/');
        if (path != std::string::npos) files.insert(line.substr(path));
    }
    for (const std::string& file : files) std::cout << "mapped " << file << '\n';
}

}  // namespace

extern "C" void runPluginInThisHost(const char* pluginFile) {
    SecondHost host;
    if (dlopen(pluginFile, RTLD_NOW | RTLD_LOCAL) == nullptr) {
        std::cout << "refused " << dlerror() << '\n';
        printMappedFiles();
        return;
    }
    requestPairs(host);
    printMappedFiles();
    host.plugin()->PrepareForUnload();  // the library stays open: the process ends here
}

// Answers one CIM request from what the plug-in publishes of this machine, without a server: the request's body on
// standard input, the answer's on standard output. Usage: cim_answer PLUGIN [VIRTUAL_DEVICE...]
// Exit status 4: the request is not CIM-XML; the word for the header CIMError is on standard error.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"
#include "serve/cimxml/object_store.h"
#include "serve/cimxml/operations.h"
#include "tests/support/served_classes.h"

namespace {

std::vector<refhost::Instance> everything(const refhost::ReferenceHost& host) {
    std::vector<refhost::Instance> published;
    for (const refhost::ClassDeclaration& declaration : host.classes())
        for (refhost::Instance& instance : host.instances(declaration.name)) published.push_back(std::move(instance));
    return published;
}

int answer(const std::string& plugin, const std::vector<std::string>& virtualDevices) {
    refhost::HostOptions options;
    options.virtualDevices = virtualDevices;
    refhost::ReferenceHost host(options);
    (void)host.loadPlugin(plugin);
    (void)host.request(diskmgt_test::servedClasses());
    const diskmgt::serve::ObjectStore store(host.classes(), everything(host));
    for (const std::string& path : store.duplicates()) std::cerr << "left out: " << path << "\n";
    char hostName[256] = "";
    (void)gethostname(hostName, sizeof hostName - 1);
    const std::string body{std::istreambuf_iterator<char>(std::cin), {}};
    const diskmgt::serve::CimReply reply =
        diskmgt::serve::answerCim(body, host.classes(), &store, hostName, "Nothing is collected.");
    if (reply.httpStatus != 200) {
        std::cerr << reply.cimError << "\n";
        return 4;
    }
    std::cout << reply.body << std::flush;
    return std::cout ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        (void)std::fprintf(stderr, "usage: %s PLUGIN [VIRTUAL_DEVICE...]\n", argv[0]);
        return 2;
    }
    try {
        return answer(argv[1], std::vector<std::string>(argv + 2, argv + argc));
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "%s\n", failure.what());
        return 3;
    }
}

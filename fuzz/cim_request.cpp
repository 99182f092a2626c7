// Any bytes as the body of a CIM request: the answer is XML that the strictest client reads, or a refusal with a word.
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/target.h"
#include "serve/cimxml/object_store.h"
#include "serve/cimxml/operations.h"
#include "serve/cimxml/xml_text.h"
#include "tests/support/made_instance.h"

namespace {

using diskmgt::serve::CimReply;
using diskmgt::serve::ObjectStore;
using diskmgt_fuzz::require;
using Named = std::vector<std::pair<std::string, std::string>>;

/// Two drives, three partitions and their pairs, with a name of hostile bytes among them.
class Scene {
public:
    Scene() : host(quiet()), store(host.classes(), instances()) {}

    const std::vector<refhost::ClassDeclaration>& classes() const { return host.classes(); }
    const ObjectStore& objects() const { return store; }

private:
    static refhost::HostOptions quiet() {
        refhost::HostOptions options;
        options.systemName = "server1";
        options.discoverVirtualDevices = false;
        return options;
    }

    refhost::Instance device(const std::string& className, const std::string& deviceId) const {
        return diskmgt_test::instanceOf(*host.findClass(className),
                                        Named{{"CreationClassName", className},
                                              {"DeviceID", deviceId},
                                              {"SystemCreationClassName", "VEXSG_ComputerSystem"},
                                              {"SystemName", "server1"},
                                              {"Size", "512"},
                                              {"Bootable", "true"}});
    }

    std::vector<refhost::Instance> instances() const {
        std::vector<refhost::Instance> all{device("VEXSG_DiskDrive", "/dev/sda"), device("VEXSG_DiskDrive", "/dev/sdb"),
                                           device("VEXSG_DiskPartition", "/dev/sda1"),
                                           device("VEXSG_DiskPartition", "a\"<&>\x01\xFF\\\r\n"),
                                           device("VEXSG_DiskPartition", "")};
        for (const std::size_t partition : {2U, 3U, 4U})
            all.push_back(
                diskmgt_test::instanceOf(*host.findClass("VEXSG_PartitionPresent"),
                                         Named{{"Antecedent", all[0].path}, {"Dependent", all[partition].path}}));
        return all;
    }

    refhost::ReferenceHost host;
    ObjectStore store;
};

/// Whether each element in the short form is one of those that every client reads so.
bool hasOnlyKnownShortForms(std::string_view body) {
    for (std::size_t end = body.find("/>"); end != std::string_view::npos; end = body.find("/>", end + 1)) {
        const std::string_view element = body.substr(body.rfind('<', end));
        bool isKnown = false;
        for (const std::string_view name : {"<CLASSNAME ", "<INSTANCENAME ", "<ERROR "})
            isKnown = isKnown || element.substr(0, name.size()) == name;
        if (!isKnown) return false;
    }
    return true;
}

void check(const CimReply& reply) {
    if (reply.httpStatus == 400) {
        require(!reply.cimError.empty() && !reply.body.empty(), "a refusal has a word and a sentence");
        return;
    }
    require(reply.httpStatus == 200 && reply.cimError.empty(), "an answer is a refusal or not");
    require(reply.body.compare(0, 5, "<?xml") == 0, "an answer begins with the declaration");
    require(diskmgt::serve::isXmlText(reply.body), "an answer is XML text");
    require(reply.body.find("<!") == std::string::npos && reply.body.find("&#") == std::string::npos,
            "an answer has no comment, no section and no numeric reference");
    require(hasOnlyKnownShortForms(reply.body), "an answer has no short forms but those that clients read");
    pugi::xml_document document;
    require(static_cast<bool>(document.load_string(reply.body.c_str())), "an answer is well-formed");
    require(!document.select_nodes("//IRETURNVALUE | //ERROR").empty(), "an answer returns something or is an error");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Scene scene;
    const std::string body(reinterpret_cast<const char*>(data), size);
    check(diskmgt::serve::answerCim(body, scene.classes(), &scene.objects(), "server1", ""));
    if (size % 8 == 0)
        check(diskmgt::serve::answerCim(body, scene.classes(), nullptr, "server1", "Nothing is collected yet."));
    return 0;
}

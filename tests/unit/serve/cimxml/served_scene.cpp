#include "tests/unit/serve/cimxml/served_scene.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/served_classes.h"

namespace diskmgt_test {

namespace {

std::string escaped(const std::string& text) {
    std::string written;
    for (const char letter : text) {
        if (letter == '&')
            written += "&amp;";
        else if (letter == '<')
            written += "&lt;";
        else
            written += letter;
    }
    return written;
}

std::string wholeText(const pugi::xml_node& node) {
    std::string text = node.value();
    for (const pugi::xml_node& child : node) text += wholeText(child);
    return text;
}

void describe(FakeOs& machine) {
    machine.sysfsDisk("sda", 4096, "8:0", {"sda1", "sda2"});
    machine.device("/dev/sda", DiskImage(2097152).slot(0, 0x83, 64, 100, 0, 0x80).slot(1, 0x82, 200, 300));
    machine.sysfsDisk("sdb", 2048, "8:16", {});
    machine.device("/dev/sdb", DiskImage(1048576));
    machine.file("/etc/mtab", "/dev/sda1 /boot ext4 rw 0 0\nnas:/home /home nfs4 rw 0 0\n");
    SpaceFigures space;
    space.blockBytes = 1024;
    space.blocks = 50;
    space.freeBlocks = 20;
    machine.fileSystem("/boot", space);
}

}  // namespace

std::string classValue(const std::string& name) { return "<CLASSNAME NAME=\"" + name + "\"/>"; }
std::string plainValue(const std::string& text) { return "<VALUE>" + escaped(text) + "</VALUE>"; }

std::string listValue(const std::vector<std::string>& texts) {
    std::string markup = "<VALUE.ARRAY>";
    for (const std::string& text : texts) markup += plainValue(text);
    return markup + "</VALUE.ARRAY>";
}

std::string instanceValue(const std::string& className, const NamedValues& keys) {
    std::string markup = "<INSTANCENAME CLASSNAME=\"" + className + "\">";
    for (const auto& [name, value] : keys)
        markup += "<KEYBINDING NAME=\"" + name + "\"><KEYVALUE VALUETYPE=\"string\">" + escaped(value) +
                  "</KEYVALUE></KEYBINDING>";
    return markup + "</INSTANCENAME>";
}

std::string pairValue(const std::string& className, const std::string& antecedent, const std::string& dependent) {
    const auto reference = [](const std::string& name, const std::string& target) {
        return "<KEYBINDING NAME=\"" + name + "\"><VALUE.REFERENCE>" + target + "</VALUE.REFERENCE></KEYBINDING>";
    };
    return "<INSTANCENAME CLASSNAME=\"" + className + "\">" + reference("Antecedent", antecedent) +
           reference("Dependent", dependent) + "</INSTANCENAME>";
}

std::string requestText(const std::string& operation, const NamedValues& parameters, const std::string& nameSpace) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n"
        "<MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"" +
        operation + "\"><LOCALNAMESPACEPATH>";
    for (std::size_t at = 0; at < nameSpace.size();) {
        const std::size_t end = std::min(nameSpace.find('/', at), nameSpace.size());
        text += "<NAMESPACE NAME=\"" + nameSpace.substr(at, end - at) + "\"></NAMESPACE>";
        at = end + 1;
    }
    text += "</LOCALNAMESPACEPATH>\n";
    for (const auto& [name, markup] : parameters)
        text += "<IPARAMVALUE NAME=\"" + name + "\">" + markup + "</IPARAMVALUE>\n";
    return text + "</IMETHODCALL></SIMPLEREQ>\n</MESSAGE></CIM>";
}

Answer::Answer(diskmgt::serve::CimReply cimReply) : reply(std::move(cimReply)) {
    if (reply.httpStatus != 200) return;
    const auto outcome = document.load_string(reply.body.c_str(), pugi::parse_default | pugi::parse_ws_pcdata_single);
    EXPECT_TRUE(outcome) << outcome.description() << "\n" << reply.body;
}

std::vector<std::string> Answer::all(const std::string& xpath) const {
    std::vector<std::string> values;
    for (const pugi::xpath_node& found : document.select_nodes(xpath.c_str()))
        values.emplace_back(found.attribute() ? found.attribute().value() : wholeText(found.node()));
    return values;
}

std::string Answer::only(const std::string& xpath) const {
    const auto values = all(xpath);
    if (values.size() == 1) return values.front();
    return values.empty() ? "(none)" : "(several)";
}

std::vector<std::string> Answer::elementsIn(const std::string& xpath) const {
    std::vector<std::string> names;
    for (const pugi::xml_node& child : document.select_node(xpath.c_str()).node()) names.emplace_back(child.name());
    return names;
}

std::string Answer::error() const {
    const auto codes = all("//ERROR/@CODE");
    return codes.empty() ? "" : codes.front();
}

std::vector<std::string> Answer::devices() const {
    return all(
        "//IRETURNVALUE/*/descendant-or-self::INSTANCENAME[not(ancestor::KEYBINDING) and "
        "not(ancestor::INSTANCE)]/KEYBINDING[@NAME='DeviceID']/KEYVALUE");
}

ServedScene::ServedScene() {
    describe(machine);
    EXPECT_FALSE(session.host.request(diskmgt_test::servedClasses()).failure);
    std::vector<refhost::Instance> published;
    for (const refhost::ClassDeclaration& declaration : session.host.classes())
        for (refhost::Instance& instance : session.host.instances(declaration.name))
            published.push_back(std::move(instance));
    store = std::make_unique<diskmgt::serve::ObjectStore>(session.host.classes(), std::move(published));
}

Answer ServedScene::ask(const std::string& operation, const NamedValues& parameters) const {
    return askText(requestText(operation, parameters));
}

Answer ServedScene::askText(const std::string& request) const {
    return Answer(diskmgt::serve::answerCim(request, classes(), store.get(), "server1", ""));
}

std::string ServedScene::device(const std::string& className, const std::string& deviceId) {
    return instanceValue(className, {{"CreationClassName", className},
                                     {"DeviceID", deviceId},
                                     {"SystemCreationClassName", "VEXSG_ComputerSystem"},
                                     {"SystemName", "server1"}});
}

refhost::PropertyDeclaration property(const std::string& name, const std::string& type, bool isKey) {
    refhost::PropertyDeclaration declared;
    declared.name = name;
    declared.type = type;
    declared.isKey = isKey;
    return declared;
}

}  // namespace diskmgt_test

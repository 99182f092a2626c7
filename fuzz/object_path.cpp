// Object paths: what can be read is written back to the same text, and any key values survive writing and reading.
#include "refhost/value/object_path.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "fuzz/target.h"
#include "plugin/host/tal_exception.h"

namespace {

using diskmgt_fuzz::require;

void readAndWriteBack(std::string_view text) {
    try {
        require(refhost::objectPathText(refhost::parseObjectPath(text)) == text, "a path is written back as it was");
    } catch (const NVEXTAL20::TTALException& refusal) {
        require(*refusal.what() != '\0', "a refusal says why");
    }
}

/// The text cut in two at a zero byte makes two key values.
void writeAndReadBack(const std::string& text) {
    const std::size_t cut = std::min(text.find('\0'), text.size());
    const refhost::ObjectPath path{
        "VEXSG_LogicalDisk",
        {{"DeviceID", text.substr(0, cut)}, {"Name", text.substr(std::min(cut + 1, text.size()))}}};
    const refhost::ObjectPath again = refhost::parseObjectPath(refhost::objectPathText(path));
    require(again.className == path.className && again.keys == path.keys, "a path is read back as it was");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    readAndWriteBack(text);
    writeAndReadBack(text);
    return 0;
}

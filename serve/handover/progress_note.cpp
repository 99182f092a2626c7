#include "serve/handover/progress_note.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace diskmgt::serve {

namespace {

constexpr std::size_t kRoom = 4096;  // of the longest clause and the zero behind it
constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE | F_SEAL_SEAL;

std::string readOnce(int descriptor) {
    char text[kRoom] = {};
    if (::lseek(descriptor, 0, SEEK_SET) != 0 || ::read(descriptor, text, sizeof text - 1) < 0) return "";
    return text;
}

}  // namespace

ProgressNote::ProgressNote() : file(::memfd_create("progress", MFD_CLOEXEC | MFD_ALLOW_SEALING)) {
    void* memory = MAP_FAILED;
    if (file.isOpen() && ::ftruncate(file.get(), kRoom) == 0)
        memory = ::mmap(nullptr, kRoom, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory != MAP_FAILED) text = static_cast<char*>(memory);
    if (text == nullptr || ::fcntl(file.get(), F_ADD_SEALS, kSeals) != 0) file.close();
}

ProgressNote::~ProgressNote() {
    if (text != nullptr) (void)::munmap(text, kRoom);
}

void ProgressNote::write(const std::string& clause) noexcept {
    if (text == nullptr) return;
    const std::size_t length = std::min(clause.size(), kRoom - 1);
    std::memcpy(text, clause.data(), length);
    text[length] = '\0';
}

bool isProgressNote(int descriptor) { return descriptor >= 0 && ::fcntl(descriptor, F_GET_SEALS) == kSeals; }

std::string readProgressNote(int descriptor) {
    if (descriptor < 0) return "";
    std::string one, other = readOnce(descriptor);
    for (int tries = 0; tries < 3 && one != other; ++tries) {  // it may be written meanwhile
        one = std::move(other);
        other = readOnce(descriptor);
    }
    return other;
}

}  // namespace diskmgt::serve

// What a service manager that started this process is told (sd_notify(3)).
#pragma once

#include <string>

namespace diskmgt::serve {

class ServiceManager {
public:
    /// Reads NOTIFY_SOCKET and removes it, so that no child has it.
    ServiceManager();

    /// Until it has arrived once; of no effect when no manager waits for it.
    void sayReady();

private:
    std::string path;  // of a datagram socket; one that begins with "@" is in no file system
};

}  // namespace diskmgt::serve

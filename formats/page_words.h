// What the page says of a device in words.
#pragma once

#include <cstddef>
#include <string>

#include "inventory/server_account.h"

namespace diskmgt {

struct Words {
    std::string brief;
    std::string full;  // whole sentences; empty: the brief ones say it all
};

/// "yes", "yes, as /dev/sdb5", "no: LVM volume", "not known: not root". `partitions` is the kernel's count.
Words cimWords(const CimAnswer& answer, std::size_t partitions = 0);

/// "In use by dm-0 (vg-root), mounted on /" or "Not seen in use".
std::string useWords(const ServerAccount& account, std::size_t device);

/// "ext4, label root" or "content not known".
std::string contentWords(const ServerAccount& account, std::size_t device);

/// "disk", "partition, EFI system", "lvm vg-root", "raid1".
std::string kindWords(const ServerAccount& account, std::size_t device);

/// "Model, serial 123, wwid naa.5000"; empty: nothing is known.
std::string identityWords(const ServerAccount& account, std::size_t device);

}  // namespace diskmgt

// What a file has besides its text: owner, group, permissions, extended attributes.
#pragma once

namespace diskmgt {

/// Makes the attributes of the one open file those of the other, access control list and security label included, as
/// far as rights and file system allow. Nobody gets a right that they did not have: what the former group might do is
/// not passed on to another group, and the setuid and setgid bits are dropped.
void keepAttributes(int from, int to);

/// A new file without a name gets the permissions that the umask leaves, unless its folder's own list gave it others.
/// Some kernels forget that for such files.
void applyMask(int fd);

}  // namespace diskmgt

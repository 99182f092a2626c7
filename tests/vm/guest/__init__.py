"""A guest: Debian's kernel in an emulator, with disks, programs of this machine and results."""

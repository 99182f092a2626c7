// What the collector notes is what the front reads, and the front can do no more than read it.
#include "serve/handover/progress_note.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using diskmgt::serve::Descriptor;
using diskmgt::serve::isProgressNote;
using diskmgt::serve::ProgressNote;
using diskmgt::serve::readProgressNote;

TEST(ProgressNote, IsReadAsItWasWrittenLast) {
    ProgressNote note;
    ASSERT_GE(note.descriptor(), 0);
    EXPECT_EQ(readProgressNote(note.descriptor()), "");
    note.write("serving VEXSG_LogicalDisk");
    EXPECT_EQ(readProgressNote(note.descriptor()), "serving VEXSG_LogicalDisk");
    note.write("short");
    EXPECT_EQ(readProgressNote(note.descriptor()), "short");
    note.write("");
    EXPECT_EQ(readProgressNote(note.descriptor()), "");
}

TEST(ProgressNote, CutsWhatDoesNotFit) {
    ProgressNote note;
    note.write(std::string(10000, 'x'));
    EXPECT_EQ(readProgressNote(note.descriptor()), std::string(4095, 'x'));
    note.write("after it");
    EXPECT_EQ(readProgressNote(note.descriptor()), "after it");
}

TEST(ProgressNote, IsStillThereWhenTheWriterHasDied) {
    ProgressNote note;
    const pid_t child = ::fork();
    if (child == 0) {
        note.write("serving VEXSG_DiskDrive");
        ::_exit(0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(readProgressNote(note.descriptor()), "serving VEXSG_DiskDrive");
}

TEST(ProgressNote, CannotBeChangedByWhoGetsTheDescriptor) {
    ProgressNote note;
    note.write("as written");
    EXPECT_EQ(::pwrite(note.descriptor(), "x", 1, 0), -1);
    for (const off_t size : {0, 8192}) EXPECT_EQ(::ftruncate(note.descriptor(), size), -1);
    EXPECT_EQ(::fcntl(note.descriptor(), F_ADD_SEALS, F_SEAL_WRITE), -1);
    EXPECT_EQ(::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, note.descriptor(), 0), MAP_FAILED);
    EXPECT_EQ(readProgressNote(note.descriptor()), "as written");
}

TEST(ProgressNote, OfNobodyIsEmpty) { EXPECT_EQ(readProgressNote(-1), ""); }

TEST(ProgressNote, WithoutADescriptorNothingIsNotedAndNothingFails) {
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    ProgressNote note;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_LT(note.descriptor(), 0);
    note.write("serving VEXSG_DiskDrive");
}

TEST(ProgressNote, IsToldFromWhatCouldWaitForEver) {
    EXPECT_TRUE(isProgressNote(ProgressNote().descriptor()));
    const Descriptor event(::eventfd(0, EFD_CLOEXEC)), open(::memfd_create("open", MFD_CLOEXEC)),
        null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    for (const int other : {event.get(), open.get(), null.get(), -1}) EXPECT_FALSE(isProgressNote(other));
}

// Every system call fails, once and from then on, with every error that it can give; and reads are short.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>

#include "tests/faults/full_request.h"
#include "tests/faults/kernel_model.h"

namespace {

using diskmgt_test::describeServer;
using diskmgt_test::differences;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using diskmgt_test::Fault;
using diskmgt_test::FullRequest;
using diskmgt_test::KernelModel;
using diskmgt_test::Outcome;
using diskmgt_test::Texts;

const std::vector<int>& errorsOf(const std::string& call) {
    static const std::map<std::string, std::vector<int>> errors{
        {"open", {ENOENT, EACCES, EPERM, ENXIO, ENODEV, ENOMEDIUM, EBUSY, EMFILE, ENFILE, ENOMEM, EINTR, EIO, ELOOP}},
        {"fcntl", {EBADF}},
        {"close", {EIO, EINTR}},
        {"lseek", {EINVAL, ESPIPE, EOVERFLOW, ENXIO}},
        {"read", {EIO, EINTR, EAGAIN, EINVAL, EISDIR, ENOMEDIUM, ENXIO, ENODATA, EILSEQ}},
        {"ioctl", {ENOTTY, EINVAL, EPERM, EIO, ENXIO, ENOMEDIUM}},
        {"access", {ENOENT, EACCES, ENOTDIR, ELOOP, EIO, ENOMEM}},
        {"readlink", {EINVAL, ENOENT, EACCES, ELOOP, EIO, ENOMEM}},
        {"statfs", {ENOENT, EACCES, ENOTDIR, ESTALE, ENOTCONN, EIO, ENOSYS, EINTR, EOVERFLOW}},
        {"opendir", {ENOENT, EACCES, ENOTDIR, EMFILE, ENFILE, ENOMEM}},
        {"readdir", {EIO, EBADF, ENOENT}},
        {"closedir", {EBADF}},
        {"setmntent", {ENOENT, EACCES, EROFS, EMFILE, ENOMEM}},
        {"getmntent", {EIO}},
        {"endmntent", {EIO}},
    };
    return errors.at(call);
}

class KernelFault : public ::testing::Test {
protected:
    KernelFault() {
        describeServer(machine);
        clean = request.run();
    }

    KernelModel modelOfACleanRequest() {
        machine.forgetCalls();
        const Outcome again = request.run();
        EXPECT_EQ(differences(again, clean), "");
        KernelModel model(machine.callTexts(), clean);
        machine.keepNoTexts();
        return model;
    }

    Outcome runWithFailure(int number, Fault how, Effect effect) {
        machine.failCall(number, how, effect);
        Outcome faulty = request.run();
        machine.heal();
        EXPECT_EQ(machine.openHandles(), 0);
        EXPECT_EQ(machine.staleUses(), 0);
        return faulty;
    }

    FakeOs machine;
    FullRequest request;
    Outcome clean;
};

TEST_F(KernelFault, OnceCostsNothingButWhatTheCallWasFor) {
    const KernelModel model = modelOfACleanRequest();
    for (int number = 1; number <= model.calls() && !HasFailure(); ++number) {
        for (const int error : errorsOf(model.at(number).name)) {
            SCOPED_TRACE(model.describe(number) + " gives " + std::strerror(error));
            model.expectOnlyItsOwnLoss(number, runWithFailure(number, Fault::once, Effect::failsWith(error)));
            EXPECT_EQ(differences(request.run(), clean), "") << "the next request";
            if (!model.leadsSomewhere(number)) break;  // one error is as good as another
        }
    }
}

TEST_F(KernelFault, FromThenOnKeepsWhatWasFoundBefore) {
    const KernelModel model = modelOfACleanRequest();
    for (int number = 1; number <= model.calls() && !HasFailure(); ++number) {
        for (const int error : {errorsOf(model.at(number).name).front(), EMFILE}) {
            SCOPED_TRACE("from " + model.describe(number) + " on everything gives " + std::strerror(error));
            model.expectNothingFrom(number, runWithFailure(number, Fault::fromThenOn, Effect::failsWith(error)));
            EXPECT_EQ(differences(request.run(), clean), "") << "the next request";
            if (!model.leadsSomewhere(number)) break;
        }
    }
}

/// Lengths that cover the needed bytes of a read; the rest is zero on the server or unused. Empty for a GPT header: the
/// entries are read from where the header ended.
std::vector<std::size_t> harmlessLengths(const KernelModel::Call& call) {
    if (!call.isInTables) return {1, 2, 3};   // text: read further to the line end
    if (call.detail == "16") return {5, 15};  // the type is the fifth byte
    if (call.detail == "66") return {64, 65};
    if (call.detail == "512") return {};
    return {5 * 128, 5 * 128 - 1, 16383};  // the fifth entry is the last used one
}

TEST_F(KernelFault, AShortReadThatHoldsTheNeededBytesChangesNothing) {
    const KernelModel model = modelOfACleanRequest();
    for (int number = 1; number <= model.calls() && !HasFailure(); ++number) {
        if (model.at(number).name != "read") continue;
        for (const std::size_t length : harmlessLengths(model.at(number))) {
            SCOPED_TRACE(model.describe(number) + " gives " + std::to_string(length) + " bytes");
            EXPECT_EQ(differences(runWithFailure(number, Fault::once, Effect::readsAtMost(length)), clean), "");
        }
    }
}

TEST_F(KernelFault, AReadThatComesShortAnywhereTouchesNoOtherDisk) {
    const KernelModel model = modelOfACleanRequest();
    for (int number = 1; number <= model.calls() && !HasFailure(); ++number) {
        if (model.at(number).name != "read" || !model.at(number).isInTables) continue;
        for (const std::size_t length : {0U, 1U, 4U, 8U, 15U, 31U, 63U, 80U, 81U, 127U, 128U, 129U, 512U, 639U}) {
            SCOPED_TRACE(model.describe(number) + " gives " + std::to_string(length) + " bytes");
            model.expectOnlyDiskOf(number, runWithFailure(number, Fault::once, Effect::readsAtMost(length)));
            EXPECT_EQ(differences(request.run(), clean), "") << "the next request";
        }
    }
}

TEST_F(KernelFault, ReadsOfOneByteFromSomeCallOnLeaveDisksThatWereReadBefore) {
    const KernelModel model = modelOfACleanRequest();
    for (int number = 1; number <= model.calls() && !HasFailure(); ++number) {
        if (model.at(number).name != "read") continue;
        SCOPED_TRACE("from " + model.describe(number) + " on, reads give one byte");
        const Outcome found = runWithFailure(number, Fault::fromThenOn, Effect::readsAtMost(1));
        EXPECT_FALSE(found.failure);
        // One byte of a table holds no partition, but a text read byte by byte is still complete.
        std::vector<std::string> namesNow;
        for (const Texts& partition : found.of("VEXSG_DiskPartition")) namesNow.push_back(partition.at("DeviceID"));
        std::vector<std::string> namesOnce;
        for (const Texts& partition : clean.of("VEXSG_DiskPartition")) namesOnce.push_back(partition.at("DeviceID"));
        EXPECT_EQ(found.of("VEXSG_DiskDrive").size(), clean.of("VEXSG_DiskDrive").size());
        EXPECT_EQ(found.of("VEXSG_LogicalDisk"), clean.of("VEXSG_LogicalDisk"));
        for (const std::string& name : namesNow)
            EXPECT_TRUE(std::count(namesOnce.begin(), namesOnce.end(), name) == 1) << name;
        diskmgt_test::expectAssociationsFollow(found);
    }
    EXPECT_EQ(differences(request.run(), clean), "");
}

TEST_F(KernelFault, EveryDescriptorIsKeptFromChildProcessesUnlessTheKernelRefuses) {
    EXPECT_TRUE(machine.inheritablePaths().empty());
}

}  // namespace

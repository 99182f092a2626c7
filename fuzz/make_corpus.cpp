// Writes the first inputs of every fuzz target, a folder each. Usage: make_corpus SEEDS_DIRECTORY CORPUS_DIRECTORY
// Disks are recipes; the texts of SEEDS_DIRECTORY/<target>/ are copied unchanged.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/disk_image.h"

namespace {

namespace fs = std::filesystem;
using diskmgt_test::DiskImage;

constexpr const char* kLinux = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
constexpr const char* kEfi = "C12A7328-F81F-11D2-BA4B-00A0C93EC93B";
constexpr std::uint64_t kDiskBytes = 4096;

void writeInput(const fs::path& directory, const std::string& name, const std::string& bytes) {
    fs::create_directories(directory);
    std::ofstream out(directory / name, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + (directory / name).string());
}

/// Small disks, because a table in a far sector only makes inputs longer.
std::vector<std::pair<std::string, DiskImage>> disks() {
    DiskImage everyType(kDiskBytes);
    everyType.gpt(14);
    const char* const types[] = {"024DEE41-33E7-11D3-9D69-0008C781F39F",
                                 kEfi,
                                 "21686148-6449-6E6F-744E-656564454649",
                                 "E3C9E316-0B5C-4DB8-817D-F92DF00215AE",
                                 "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7",
                                 "5808C8AA-7E8F-42E0-85D2-E1E90434CFB3",
                                 "AF9B60A0-1431-4F62-BC68-3311714A69AD",
                                 "DE94BBA4-06D1-4D40-A16A-BFD50179D6AC",
                                 "A19D880F-05FC-4D3B-A006-743F0F84911E",
                                 "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F",
                                 "E6D6D379-F507-44C2-A23C-238F2A3DF928",
                                 "8DA63339-0007-60C0-C436-083AC8230908",
                                 kLinux,
                                 "AA31E02A-400F-11DB-9590-000C2911D1B8"};
    unsigned slot = 0;
    for (const char* const type : types) {
        ++slot;
        everyType.gptEntry(slot, type, slot, slot + 1);
    }
    return {
        {"empty", DiskImage(kDiskBytes)},
        {"tiny", DiskImage(100)},
        {"primaries", DiskImage(kDiskBytes).slot(0, 0x83, 1, 2, 0, 0x80).slot(1, 0x82, 3, 1).slot(3, 0x07, 4, 9)},
        {"chain", DiskImage(kDiskBytes)
                      .slot(0, 0x83, 1, 1)
                      .slot(1, 0x05, 2, 6)
                      .slot(0, 0x83, 1, 1, 2)
                      .slot(1, 0x0F, 2, 2, 2)
                      .slot(0, 0x82, 1, 1, 4)
                      .slot(1, 0x05, 3, 1, 4)
                      .slot(2, 0x83, 1, 1, 5)},
        {"chain_to_itself", DiskImage(kDiskBytes).slot(0, 0x05, 1, 6).slot(0, 0x83, 1, 1, 1).slot(1, 0x05, 0, 1, 1)},
        {"extended_at_zero", DiskImage(kDiskBytes).slot(0, 0x05, 0, 6).slot(1, 0x83, 1, 1)},
        {"chain_of_two_in_a_ring", DiskImage(kDiskBytes)
                                       .slot(0, 0x0F, 1, 6)
                                       .slot(0, 0x83, 1, 1, 1)
                                       .slot(1, 0x05, 1, 1, 1)
                                       .slot(0, 0x83, 1, 1, 2)
                                       .slot(1, 0x05, 0, 1, 2)},
        {"two_extended",
         DiskImage(kDiskBytes).slot(0, 0x05, 1, 2).slot(1, 0x0F, 3, 2).slot(0, 0x83, 1, 1, 1).slot(0, 0x83, 1, 1, 3)},
        {"link_past_the_end", DiskImage(kDiskBytes)
                                  .slot(0, 0x05, 1, 6)
                                  .slot(0, 0x83, 1, 1, 1)
                                  .slot(1, 0x05, 0xFFFF, 1, 1)
                                  .bytes(1024, std::string(512, '\x83'))},
        {"extended_past_the_end", DiskImage(kDiskBytes).slot(0, 0x05, 0xFFFFFFFF, 6).slot(1, 0x83, 1, 1)},
        {"gpt",
         DiskImage(kDiskBytes).gpt(8).gptEntry(1, kEfi, 3, 4).gptEntry(2, kLinux, 5, 6).gptEntry(8, kLinux, 7, 7)},
        {"gpt_every_type", everyType},
        {"gpt_without_entries", DiskImage(kDiskBytes).gpt(0).gptEntry(1, kEfi, 3, 4)},
        {"gpt_negative_count", DiskImage(kDiskBytes).gpt(-1).gptEntry(1, kEfi, 3, 4)},
        {"gpt_huge_count", DiskImage(kDiskBytes).gpt(0x7FFFFFFF).gptEntry(1, kEfi, 3, 4)},
        {"gpt_cut_in_an_entry",
         DiskImage(kDiskBytes).gpt(4).gptEntry(1, kEfi, 3, 4).gptEntry(2, kLinux, 5, 6).cutAt(1200)},
        {"gpt_cut_in_the_header", DiskImage(kDiskBytes).gpt(4).cutAt(600)},
        {"signature_alone", DiskImage(kDiskBytes).bytes(510, "\x55\xAA")},
    };
}

/// Every disk under every path, each time with other nodes, every second time as a file.
void writeDisks(const fs::path& directory) {
    unsigned variant = 0;
    for (const auto& [name, image] : disks()) {
        for (unsigned path = 0; path < 8; ++path) {
            variant += 37;
            const char choices[] = {static_cast<char>(path | (variant & 1U) << 7U), static_cast<char>(variant)};
            writeInput(directory, name + "_" + std::to_string(path), std::string(choices, 2) + image.allBytes());
        }
    }
}

void writeValues(const fs::path& directory) {
    const std::vector<std::pair<int, std::string>> values{{0, "any text, \xC3\xA4 too"},
                                                          {1, "TRUE"},
                                                          {2, "255"},
                                                          {3, "65535"},
                                                          {4, "4294967295"},
                                                          {5, "18446744073709551615"},
                                                          {6, "-128"},
                                                          {7, "-32768"},
                                                          {8, "2147483647"},
                                                          {9, "-9223372036854775808"},
                                                          {10, "1.5e3"},
                                                          {11, "-0.1"},
                                                          {12, "\xE2\x82\xAC"},
                                                          {13, "20240229235959.123456+060"},
                                                          {13, "00000012132259.123456:000"},
                                                          {13, "2024************.******+000"},
                                                          {5, "007"},
                                                          {5, ""}};
    int number = 0;
    for (const auto& [type, text] : values)
        writeInput(directory, "value_" + std::to_string(++number), std::string(1, static_cast<char>(type)) + text);
}

/// Texts that the project's text files may not contain: with tabs, or without a line end.
void writeTexts(const fs::path& corpora) {
    writeInput(
        corpora / "mount_table", "odd_lines",
        "z# a comment\n\n   /dev/sdb1\t/boot\tvfat\trw\t0\t0\nnone\n/dev/sda1\nhost:/e /net nfs4 rw,addr=10.0.0.1");
    writeInput(corpora / "object_path", "drive",
               "VEXSG_DiskDrive.CreationClassName=\"VEXSG_DiskDrive\",DeviceID=\"/dev/sda\",SystemName=\"server1\"");
    writeInput(corpora / "object_path", "quotes", R"(VEXSG_LogicalDisk.DeviceID="//host/a \"b\" \\c, d=e")");
    writeInput(corpora / "object_path", "no_keys", "A_Class");
    writeInput(corpora / "object_path", "two_values", std::string("/dev/sda\0/mnt/\"x\"\\", 18));
}

void copySeeds(const fs::path& seeds, const fs::path& corpora) {
    for (const auto& entry : fs::recursive_directory_iterator(seeds)) {
        if (!entry.is_regular_file()) continue;
        const fs::path target = corpora / fs::relative(entry.path(), seeds);
        fs::create_directories(target.parent_path());
        fs::copy_file(entry.path(), target, fs::copy_options::overwrite_existing);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: %s SEEDS_DIRECTORY CORPUS_DIRECTORY\n", argv[0]);
        return 2;
    }
    try {
        const fs::path corpora = argv[2];
        writeDisks(corpora / "partition_parser");
        writeValues(corpora / "cim_value");
        writeTexts(corpora);
        copySeeds(argv[1], corpora);
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}

// SPDX-License-Identifier: Apache-2.0
#include "runtime/control/journal_settings.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "runtime/base/byte_order.h"
#include "runtime/base/file.h"
#include "runtime/base/file_io.h"
#include "runtime/log/crc32c.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t journal_magic = 0x4c4e'524a'4e52'4154;  // "TARNJRNL"
constexpr std::uint32_t most_interval = 3'600'000;

// Of a file that isn't complete. Only the process with the writer's lock makes one.
constexpr const char *working_name = "journal-new";

struct SettingsFile {
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t byte_order;
    StoreId id;
    kel_journal_settings settings;
    std::uint32_t crc;
    std::uint32_t reserved;
};
static_assert(sizeof(kel_journal_settings) == 32);
static_assert(sizeof(SettingsFile) == 72);
static_assert(offsetof(SettingsFile, crc) == 64);

std::uint32_t version_of(const kel_journal_settings &settings) {
    return settings.enabled == KEL_JOURNAL_COMPRESSED ? journal_format_version : 1;
}

std::uint32_t checksum(const SettingsFile &file) {
    return crc32c({reinterpret_cast<const char *>(&file), offsetof(SettingsFile, crc)});
}

// Writes a new file that everyone may use who may use the folder.
std::uint32_t write_file(int folder, const char *name, const SettingsFile &content) {
    const File file(::openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    struct stat status;
    if (!file.is_open() || ::fstat(folder, &status) != 0) return error_number();
    [[maybe_unused]] const int ignored = ::fchmod(file.descriptor(), status.st_mode & 0666);
    const std::span<const char> bytes(reinterpret_cast<const char *>(&content), sizeof content);
    if (const std::uint32_t error = write_fully(file.descriptor(), bytes, 0)) return error;
    return ::fsync(file.descriptor()) == 0 ? 0 : error_number();
}

}  // namespace

bool is_valid(const kel_journal_settings &settings) {
    const bool has_interval = settings.durability == KEL_DURABILITY_INTERVAL;
    return settings.enabled <= KEL_JOURNAL_COMPRESSED &&
           settings.durability <= KEL_DURABILITY_COMMIT &&
           settings.full_disk <= KEL_FULL_DISK_GAP && settings.interval <= most_interval &&
           has_interval == (settings.interval != 0);
}

std::uint32_t load_journal_settings(int folder, const StoreId &id, kel_journal_settings &settings) {
    settings = {};
    const File file(::openat(folder, journal_name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.is_open()) return errno == ENOENT ? 0 : error_number();
    SettingsFile content{};
    const std::span<char> bytes(reinterpret_cast<char *>(&content), sizeof content);
    const std::uint32_t error = read_fully(file.descriptor(), bytes, 0);
    if (error != 0) return error == ENODATA ? std::uint32_t{EBADMSG} : error;
    if (content.magic != journal_magic) return EBADMSG;
    if (content.version == 0 || content.version > journal_format_version ||
        content.byte_order != native_byte_order) {
        return EINVAL;
    }
    if (content.crc != checksum(content) || content.id != id || !is_valid(content.settings) ||
        content.version != version_of(content.settings)) {
        return EBADMSG;
    }
    settings = content.settings;
    return 0;
}

void remove_working_settings(int folder) { ::unlinkat(folder, working_name, 0); }

std::uint32_t store_journal_settings(int folder, const StoreId &id,
                                     const kel_journal_settings &settings) {
    SettingsFile content{};
    content.magic = journal_magic;
    content.version = version_of(settings);
    content.byte_order = native_byte_order;
    content.id = id;
    content.settings = settings;
    content.crc = checksum(content);
    std::uint32_t error = 0;
    do {
        remove_working_settings(folder);
        error = write_file(folder, working_name, content);
        if (error == 0 && ::renameat(folder, working_name, folder, journal_name) != 0) {
            error = error_number();
        }
    } while (error == ENOENT);
    if (error != 0) {
        remove_working_settings(folder);
        return error;
    }
    return ::fsync(folder) == 0 ? 0 : error_number();
}

}  // namespace tarnbase::runtime

// SPDX-License-Identifier: Apache-2.0
#include "library/section.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <gelf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "base/failure.h"

namespace tarnctl {
namespace {

class File {
 public:
    explicit File(const std::string &path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        struct stat status {};
        if (descriptor_ >= 0 && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) return;
        const std::string text =
            descriptor_ >= 0 ? "not a regular file" : std::string(std::strerror(errno));
        if (descriptor_ >= 0) close(descriptor_);
        throw Failure(Exit::store, fmt::format("{}: {}", path, text));
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File() { close(descriptor_); }
    int descriptor() const { return descriptor_; }

 private:
    int descriptor_;
};

struct End {
    void operator()(Elf *elf) const { elf_end(elf); }
};

[[noreturn]] void damaged(const std::string &path) {
    const char *why = elf_errmsg(-1);
    throw Failure(Exit::data, fmt::format("{}: the file is damaged: {}", path,
                                          why != nullptr ? why : "no section names"));
}

}  // namespace

std::string read_section(const std::string &path, const char *name) {
    const File file(path);
    elf_version(EV_CURRENT);
    // Read, not mapped: truncating the file meanwhile is an error and not a signal.
    const std::unique_ptr<Elf, End> elf(elf_begin(file.descriptor(), ELF_C_READ, nullptr));
    if (!elf || elf_kind(elf.get()) != ELF_K_ELF)
        throw Failure(Exit::data, fmt::format("{}: not a library: not an ELF file", path));
    std::size_t names = 0;
    if (elf_getshdrstrndx(elf.get(), &names) != 0) damaged(path);
    for (Elf_Scn *section = nullptr; (section = elf_nextscn(elf.get(), section)) != nullptr;) {
        GElf_Shdr header;
        if (gelf_getshdr(section, &header) == nullptr) damaged(path);
        const char *found = elf_strptr(elf.get(), names, header.sh_name);
        if (found == nullptr) damaged(path);
        if (std::strcmp(found, name) != 0) continue;
        const Elf_Data *data = elf_rawdata(section, nullptr);
        if (data == nullptr) damaged(path);
        if (data->d_buf == nullptr) return {};
        return {static_cast<const char *>(data->d_buf), data->d_size};
    }
    throw Failure(Exit::data, fmt::format("{}: no schema manifest: no section `{}`", path, name));
}

}  // namespace tarnctl

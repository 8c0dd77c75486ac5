// SPDX-License-Identifier: Apache-2.0
#include "runtime/base/working_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "runtime/base/file_io.h"

namespace tarnbase::runtime {

std::string working_name(const std::string &name, std::uint32_t attempt) {
    return name + std::string(working_suffix) + std::to_string(::getpid()) + "." +
           std::to_string(attempt);
}

WorkingFile::~WorkingFile() {
    if (file_.is_open()) ::unlinkat(folder_, working_name_.c_str(), 0);
}

std::uint32_t WorkingFile::create(const std::string &name) {
    name_ = name;
    // A dead process may have left a file of the same name.
    for (std::uint32_t attempt = 0; !file_.is_open(); ++attempt) {
        working_name_ = working_name(name, attempt);
        constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
        file_ = File(::openat(folder_, working_name_.c_str(), flags, 0666));
        if (!file_.is_open() && errno != EEXIST) return error_number();
    }
    struct stat status;
    if (::fstat(folder_, &status) != 0 || ::fchmod(descriptor(), status.st_mode & 0666) != 0) {
        return error_number();
    }
    return 0;
}

std::uint32_t WorkingFile::rename() {
    if (::renameat(folder_, working_name_.c_str(), folder_, name_.c_str()) != 0) {
        return error_number();
    }
    file_ = File();
    return 0;
}

}  // namespace tarnbase::runtime

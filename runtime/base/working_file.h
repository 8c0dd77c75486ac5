/* SPDX-License-Identifier: Apache-2.0 */
// A file that gets its name when it is complete.
#ifndef TARNBASE_RUNTIME_BASE_WORKING_FILE_H
#define TARNBASE_RUNTIME_BASE_WORKING_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/base/file.h"

namespace tarnbase::runtime {

// Between the name that a working file will have and what makes it unique: the process's id and a
// number.
inline constexpr std::string_view working_suffix = ".new.";

std::string working_name(const std::string &name, std::uint32_t attempt);

// The destructor removes the file unless it was renamed. One that a killed process leaves has the
// suffix in its name.
class WorkingFile {
 public:
    explicit WorkingFile(int folder) : folder_(folder) {}
    WorkingFile(const WorkingFile &) = delete;
    WorkingFile &operator=(const WorkingFile &) = delete;
    ~WorkingFile();

    // Creates a file that will have that name. Who may use the folder may use the file, whatever
    // the process's umask is. Returns 0 or an errno number.
    std::uint32_t create(const std::string &name);
    // Gives it the name; a file that has it is replaced.
    std::uint32_t rename();
    int descriptor() const { return file_.descriptor(); }

 private:
    int folder_;
    File file_;
    std::string name_;
    std::string working_name_;
};

}  // namespace tarnbase::runtime

#endif

/* SPDX-License-Identifier: Apache-2.0 */
// The folder of a store that is being made. It has another name until it is complete, and is
// removed if its maker fails, or by the next maker of that store if the maker was killed.
#ifndef TARNBASE_RUNTIME_STORE_NEW_FOLDER_H
#define TARNBASE_RUNTIME_STORE_NEW_FOLDER_H

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "runtime/base/file.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

class NewFolder {
 public:
    NewFolder() = default;
    NewFolder(const NewFolder &) = delete;
    NewFolder &operator=(const NewFolder &) = delete;
    // Removes the folder unless it is finished.
    ~NewFolder();

    // Each returns 0, or sets the error text. `begin` makes the folder next to `path`, with the
    // bits of `mode` that the umask allows; EEXIST: there is something of that name.
    std::uint32_t begin(const char *path, mode_t mode);
    // Makes the files of a store with an id of its own and the content of the image.
    std::uint32_t fill(const Image &image);
    // Gives the folder its name.
    std::uint32_t finish();

    File folder;  // locked as long as this process has it open

 private:
    std::uint32_t fail_path(std::uint32_t error) const;

    std::string path_;
    std::string working_name_;  // empty: nothing to remove
};

}  // namespace tarnbase::runtime

#endif

/* SPDX-License-Identifier: Apache-2.0 */
// A folder for the files of inputs.
#ifndef TARNBASE_TESTS_FUZZ_FOLDER_H
#define TARNBASE_TESTS_FUZZ_FOLDER_H

#include <fcntl.h>

#include "runtime/base/file.h"
#include "tests/support/temporary_directory.h"

namespace tarnbase::fuzz {

// It is removed by the destructor.
class Folder {
 public:
    int descriptor() const { return file_.descriptor(); }

 private:
    const tarn::test::TemporaryDirectory directory_;
    const runtime::File file_{
        ::open(directory_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

}  // namespace tarnbase::fuzz

#endif

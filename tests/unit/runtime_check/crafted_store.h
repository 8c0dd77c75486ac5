/* SPDX-License-Identifier: Apache-2.0 */
// A store in files whose content can be damaged under right checksums, and whose files can be.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_CHECK_CRAFTED_STORE_H
#define TARNBASE_TESTS_UNIT_RUNTIME_CHECK_CRAFTED_STORE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "runtime/base/file.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/control.h"
#include "runtime/log/frame.h"
#include "runtime/store/header.h"
#include "tarnbase/embedded.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {

void require(std::uint32_t error);

// The image of a store, not at its own address.
class Crafted {
 public:
    explicit Crafted(std::vector<char> &bytes, std::uint64_t base) : bytes_(bytes), base_(base) {}

    tarnbase::runtime::StoreHeader &header() const {
        return *at<tarnbase::runtime::StoreHeader>(base_);
    }
    template <typename T>
    T *at(const void *address) const {
        return at<T>(reinterpret_cast<std::uintptr_t>(address));
    }
    template <typename T>
    T *at(std::uint64_t address) const {
        return reinterpret_cast<T *>(bytes_.data() + (address - base_));
    }
    kel_table &table() const { return *at<kel_table>(header().tables.first); }
    // The head of a large block.
    tarnbase::runtime::Page &large() const {
        for (std::uint64_t at = tarnbase::runtime::page_size;; at += tarnbase::runtime::page_size) {
            tarnbase::runtime::Page &page =
                *reinterpret_cast<tarnbase::runtime::Page *>(bytes_.data() + at);
            if (page.kind == tarnbase::runtime::PageKind::large_block && page.pages == 1)
                return page;
        }
    }
    std::uint64_t offset_of(const void *place) const {
        return static_cast<std::uint64_t>(static_cast<const char *>(place) - bytes_.data());
    }

 private:
    std::vector<char> &bytes_;
    std::uint64_t base_;
};

class CraftedStore : public ::testing::Test {
 protected:
    CraftedStore();

    Crafted image() { return Crafted(bytes_, base_); }
    void write_image();
    // Publishes a frame.
    void append(const std::function<void(tarnbase::runtime::FrameBuilder &)> &build);
    void expect_refusal(const char *text);
    // Changes a bit of a file.
    static void flip(const std::filesystem::path &path, std::uint64_t offset);

    TemporaryDirectory directory_;
    std::filesystem::path path_, checkpoint_;
    std::uint64_t base_ = 0;
    std::vector<char> bytes_;
    tarnbase::runtime::File folder_;
    tarnbase::runtime::Control control_;
    tarnbase::runtime::CheckpointHead head_{};

 private:
    std::uint64_t end_ = 0, sequence_ = 0;  // of the log
};

}  // namespace tarn::test

#endif

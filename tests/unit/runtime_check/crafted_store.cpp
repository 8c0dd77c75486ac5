// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/runtime_check/crafted_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>

#include "tests/support/module.h"
#include "tests/unit/runtime_check/checked_store.h"
#include "tests/unit/runtime_check/filled_store.h"

namespace tarn::test {

using namespace tarnbase::runtime;

void require(std::uint32_t error) {
    if (error != 0) throw std::runtime_error(kel_error_text());
}

CraftedStore::CraftedStore() {
    kel_trace_set_sink([](void *, std::uint16_t, std::uint32_t, const char *) {}, nullptr);
    path_ = directory_ / "test.store";
    const kel_store_options options{64ULL << 20, nullptr};
    kel_store *store = nullptr;
    require(kel_store_create(path_.c_str(), &options, &store));
    fill_store(store, 3);
    require(kel_store_checkpoint(store));
    kel_store_description description;
    kel_store_describe(store, &description);
    base_ = reinterpret_cast<std::uint64_t>(description.base);
    bytes_.assign(static_cast<char *>(description.base),
                  static_cast<char *>(description.base) + description.size);
    kel_store_close(store);
    tarnbase::forget_table_roots();
    folder_ = File(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    require(control_.open(folder_.descriptor(), path_.c_str()));
    checkpoint_ = path_ / checkpoint_name(control_.page().checkpoint);
    std::ifstream(checkpoint_, std::ios::binary)
        .read(reinterpret_cast<char *>(&head_), sizeof head_);
    end_ = head_.position;
    sequence_ = head_.sequence;
}

void CraftedStore::write_image() {
    std::filesystem::remove(checkpoint_);
    require(write_checkpoint(folder_.descriptor(), head_, bytes_));
}

void CraftedStore::append(const std::function<void(FrameBuilder &)> &build) {
    FrameBuilder frame;
    frame.clear();
    build(frame);
    LogWriter log;
    require(log.open(folder_.descriptor(), head_.id, head_.segment, end_));
    require(log.append(frame.finish(++sequence_)));
    end_ = log.position();
    control_.publish(end_);
}

void CraftedStore::expect_refusal(const char *text) {
    kel_store *store = nullptr;
    EXPECT_EQ(kel_store_open(path_.c_str(), &store), std::uint32_t{EBADMSG});
    EXPECT_NE(std::string(kel_error_text()).find(text), std::string::npos) << kel_error_text();
    EXPECT_EQ(store, nullptr);
    kel_store_close(store);
}

void CraftedStore::flip(const std::filesystem::path &path, std::uint64_t offset) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(static_cast<std::streamoff>(offset));
    const char old = static_cast<char>(file.get());
    file.seekp(static_cast<std::streamoff>(offset));
    file.put(static_cast<char>(old ^ 1));
}

}  // namespace tarn::test

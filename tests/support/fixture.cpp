// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fixture.h"

#include <stdexcept>

namespace tarn::test {

std::string mode_name(Mode mode) {
    switch (mode) {
        case Mode::plain:
            return "plain";
        case Mode::tracking:
            return "tracking";
        case Mode::store_types:
            return "store_types";
    }
    return "unknown";
}

void PrintTo(Mode mode, std::ostream *out) { *out << mode_name(mode); }

kel_handle *make_handle(kel_store *store, Mode mode) {
    kel_handle *handle = nullptr;
    if (kel_handle_create(store, mode == Mode::store_types ? 1 : 0, &handle) != 0) {
        throw std::runtime_error(kel_error_text());
    }
    if (mode == Mode::tracking) kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    return handle;
}

Session::Session(Mode mode, void *base) {
    const kel_store_options options{.capacity = 0, .base = base};
    if (kel_store_create_private(&options, &store_) != 0 &&
        kel_store_create_private(nullptr, &store_) != 0) {
        throw std::runtime_error(kel_error_text());
    }
    handle_ = make_handle(store_, mode);
}

Session::~Session() {
    kel_handle_destroy(second_);
    kel_handle_destroy(handle_);
    kel_store_close(store_);
}

kel_handle *Session::second_handle(Mode mode) {
    kel_handle_destroy(second_);
    second_ = make_handle(store_, mode);
    return second_;
}

kel_store_description Session::describe() const {
    kel_store_description description;
    kel_store_describe(store_, &description);
    return description;
}

}  // namespace tarn::test

/* SPDX-License-Identifier: Apache-2.0 */
// A key to search with.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_SEARCH_KEY_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_SEARCH_KEY_H

#include "tests/behaviour/table/subject.h"

namespace tarn::test {

// `value` is for the keyed forms, `object` for the forms that take an object. The
// latter lives in the store and is gone with this.
class SearchKey {
 public:
    SearchKey(const Subject &subject, kel_handle *handle, u32 number)
        : subject_(subject),
          handle_(handle),
          holder_(subject.plain.pkey_create(handle, KEL_TX_NONE)) {
        u32 err = 0;
        subject.set_key(handle, KEL_TX_NONE, holder_, number, &err);
        if (subject.has_key_object()) {
            value_.value = holder_;
        } else {
            subject.make_key(value_, number);
        }
    }
    ~SearchKey() { subject_.unsafe.pkey_destroy(handle_, KEL_TX_NONE, holder_); }
    SearchKey(const SearchKey &) = delete;
    SearchKey &operator=(const SearchKey &) = delete;

    const void *value() const { return value_.value; }
    void *object() const { return holder_; }

 private:
    const Subject &subject_;
    kel_handle *handle_;
    void *holder_;
    KeyValue value_;
};

}  // namespace tarn::test

#endif

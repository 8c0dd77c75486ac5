/* SPDX-License-Identifier: Apache-2.0 */
// An object of any structure, used through its exported functions: one function
// fills every field and one checks them, after a conversion to any form.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_OBJECTS_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_OBJECTS_H

#include <memory>
#include <string>
#include <vector>

#include "tests/behaviour/every/call.h"
#include "tests/behaviour/every/items.h"
#include "tests/behaviour/every/values.h"
#include "tests/support/trace.h"

namespace tarn::test {

inline kel_object *head(void *object) { return static_cast<kel_object *>(object); }
inline const kel_object *head(const void *object) {
    return static_cast<const kel_object *>(object);
}
inline kel_variant_usage &usage_of(const void *object) {
    const kel_object *header = head(object);
    return header->descriptor->variant_info->variants[header->variant];
}
inline u8 *at(void *object, u32 offset) { return static_cast<u8 *>(object) + offset; }
inline const u8 *at(const void *object, u32 offset) {
    return static_cast<const u8 *>(object) + offset;
}

// The operations of a structure with a handle and an error word.
class Typed {
 public:
    Typed(const Structure &type, kel_handle *handle, u32 tx = KEL_TX_NONE)
        : type_(&type), handle_(handle), tx_(tx) {}

    // Calls <type>_<operation> with the handle and the transaction as first arguments.
    template <typename R = void>
    R operator()(const std::string &operation, std::vector<Word> arguments) const {
        arguments.insert(arguments.begin(), {Word(handle_), Word(tx_)});
        return call<R>(name(operation), arguments);
    }
    // The same for operations without a transaction.
    template <typename R = void>
    R cr(const std::string &operation, std::vector<Word> arguments) const {
        arguments.insert(arguments.begin(), Word(handle_));
        return call<R>(name(operation), arguments);
    }
    std::string name(const std::string &operation) const {
        return std::string(type_->name) + "_" + operation;
    }

    void *create() const { return (*this).operator()<void *>("create", {}); }
    void destroy(void *object) const { (*this)("destroy", {object}); }

    // Sets every field through its accessor, to values made from the seed.
    void fill(void *object, u32 seed) const;
    void fill_field(void *object, const Field &field, u32 seed) const;
    // Expects the values set by fill, in every field or in those of a variant.
    void check(void *object, u32 seed, int variant = 127) const;
    void check_field(void *object, const Field &field, u32 seed) const;

    // Forms of an object.
    std::vector<u8> wire(const void *object) const;
    std::string text(const void *object) const;
    std::string xml(const void *object) const;

    const Structure &type() const { return *type_; }
    kel_handle *handle() const { return handle_; }
    u32 tx() const { return tx_; }

 private:
    const Structure *type_;
    kel_handle *handle_;
    u32 tx_;
};

inline bool is_tracking(const kel_handle *handle) {
    return handle->state_tracking != nullptr &&
           handle->state_tracking->state_tracking_mode == KEL_STATE_TRACKING_ON;
}

// A test of one structure in one mode, with a store that has already allocated its
// permanent data: `blocks` is the number of blocks without objects.
class StructureTest : public ::testing::TestWithParam<InMode<Structure>> {
 protected:
    StructureTest();
    // Every object is destroyed.
    void TearDown() override;

    const TraceCapture trace;
    const Structure &type = *GetParam().item;
    Session session{GetParam().mode};
    kel_handle *const handle = session.handle();
    const Typed typed{type, handle};
    const bool tracking = is_tracking(handle);
    u32 err = 0;
    u64 blocks = 0;
};

}  // namespace tarn::test

#endif

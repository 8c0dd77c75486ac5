/* SPDX-License-Identifier: Apache-2.0 */
// The objects that the tests work on: one function fills them and another one checks
// them, after a conversion to any form.
#ifndef TARNBASE_TESTS_BEHAVIOUR_OBJECT_OBJECTS_H
#define TARNBASE_TESTS_BEHAVIOUR_OBJECT_OBJECTS_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"
#include "tests/support/hooks.h"
#include "tests/support/services.h"
#include "tests/support/trace.h"
#include "tests/support/values.h"

namespace tarn::test {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

// The offsets of the fields and their positions in the state block.
//   st_ldap_conn  sname 16, num_conns 48; state: 0, 2
//   st_tag        name 16, lamp 48, point 64; state: 0, 2, 3
//   st_every      a8 11, a16 12, a32 16, a64 24, s32 32, s64 40, flag 48, lamp 64,
//                 door 80, label 96, addr 128, tag 160; state: 0 to 9, 11, 19
//   st_grown      name 16, total 48, share 56, minute 168, extra 1608;
//                 state: 0, 2, 3, 10, 1451
inline constexpr u32 conn_size = 64, conn_states = 3;
inline constexpr u32 point_size = 32, point_states = 2;
inline constexpr u32 tag_size = 112, tag_states = 6;
inline constexpr u32 every_size = 288, every_states = 26;
inline constexpr u32 grown_size = 1736, grown_states = 1458;
inline constexpr u32 minutes = 1440;
// The offsets of the objects in a st_every, and of those with a share of the state block.
inline constexpr u32 embedded[] = {48, 64, 80, 96, 128, 160, 176, 208, 224};
inline constexpr u32 sharing[] = {96, 128, 160, 176, 224};

inline kel_object *head(void *object) { return static_cast<kel_object *>(object); }
inline const kel_object *head(const void *object) {
    return static_cast<const kel_object *>(object);
}
inline u8 *at(void *object, u32 offset) { return static_cast<u8 *>(object) + offset; }
template <typename T>
T *at(void *object, u32 offset) {
    return reinterpret_cast<T *>(at(object, offset));
}
std::vector<u8> bytes_of(const void *object, u32 length);

// An address to set from, from its text.
class Address {
 public:
    explicit Address(const char *text);
    operator const ip_address *() const { return &address_; }

 private:
    ip_address address_;
};

// A handle and what is made through it.
struct Maker {
    kel_handle *handle;
    u32 tx = KEL_TX_NONE;

    st_ldap_conn *conn(const std::string &name, u32 connections) const;
    st_tag *tag(u32 seed) const;
    st_every *every(u32 seed) const;
    st_grown *grown(u32 seed) const;
    // Fill every field through its accessor, with values made from the seed.
    void fill(st_tag *tag, u32 seed) const;
    void fill(st_every *every, u32 seed) const;
    void fill(st_grown *grown, u32 seed) const;
    // Expect the values that fill sets.
    void check(st_tag *tag, u32 seed) const;
    void check(st_every *every, u32 seed) const;
    void check(st_grown *grown, u32 seed) const;
};

// While it lives, a handle's allocator fails and stores an error in the handle. One at a time.
class FailingAllocator {
 public:
    FailingAllocator(kel_handle *handle, u32 error);
    ~FailingAllocator();
    FailingAllocator(const FailingAllocator &) = delete;
    FailingAllocator &operator=(const FailingAllocator &) = delete;

 private:
    static void *fail(void *arena, u32 tx_id, u64 size);

    static inline kel_handle *handle_ = nullptr;
    static inline u32 error_ = 0;
    decltype(kel_handle::alloc_hook) original_;
};

// The places that these events are about, in order.
using Places = std::vector<std::pair<void *, u64>>;
Places places_of(const std::vector<HookEvent> &events);

// The variant usage that an object counts in.
inline kel_variant_usage usage(const kel_type_info *descriptor, int variant = 0) {
    return descriptor->variant_info->variants[variant];
}

// A fixture's additions: the recorder of the services, and objects.
template <typename Base>
class WithObjects : public Base {
 protected:
    ServiceRecorder services{this->session.handle()};
    // From now on each lookup in the domain reports this error.
    void fail_domain(u32 error) {
        services.replace(kel_domain_lookup_variant,
                         [error](kel_handle *own, auto domain, auto descriptor, u32 *reported) {
                             *reported = error;
                             return kel_domain_lookup_variant(own, domain, descriptor, reported);
                         });
    }

    Maker make{this->session.handle()};
    bool tracking() const {
        return this->handle->state_tracking != nullptr &&
               this->handle->state_tracking->state_tracking_mode == KEL_STATE_TRACKING_ON;
    }
    void expect_error(u32 error) {
        EXPECT_EQ(this->err, error);
        EXPECT_EQ(this->handle->last_error, error);
        this->err = 0;
    }
    void track(u32 mode) { kel_handle_set_state_tracking(this->handle, mode); }
    // The wire form of an object, whose writing ends with this error.
    template <typename Object, typename Marshal>
    std::vector<u8> form(Marshal marshal, const Object *object, u32 error = 0) {
        std::vector<u8> bytes(8192);
        bytes.resize(marshal(this->handle, this->tx, bytes.data(), object, 8000, &this->err));
        EXPECT_EQ(this->err, error);
        return bytes;
    }
    // Reads a wire form from a buffer of exactly its length.
    template <typename Object, typename Unmarshal>
    u32 read(Unmarshal unmarshal, Object *object, const std::vector<u8> &bytes, u32 in_place = 0) {
        const auto length = static_cast<u32>(bytes.size());
        return unmarshal(this->handle, this->tx, bytes.data(), object, length, in_place,
                         &this->err);
    }
};

using ObjectTest = WithObjects<PlainTest>;
using ObjectModeTest = WithObjects<ModeTest>;

// A test that runs in tracking mode only.
class TrackedTest : public ObjectTest {
 protected:
    TrackedTest() { track(KEL_STATE_TRACKING_ON); }
};

}  // namespace tarn::test

#endif

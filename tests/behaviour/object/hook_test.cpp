// SPDX-License-Identifier: Apache-2.0
// Every store into the arena is announced before it is made, with its transaction.
#include <functional>
#include <string>
#include <vector>

#include "tests/behaviour/object/objects.h"
#include "tests/support/watch.h"

namespace tarn::test {
namespace {

class Hooks : public ObjectModeTest {
 protected:
    Hooks() {
        EXPECT_EQ(kel_transaction_begin(handle, &tx), 0U);
        handle->cr_tx_id = tx;
        make.tx = tx;
    }
    void expect_announced(void *block, u32 length, const std::string &name,
                          const std::function<void()> &operation, unsigned tolerated = 0) {
        SCOPED_TRACE(name);
        Watch watch(handle, block, length);
        watch.tolerate(tolerated);
        operation();
        EXPECT_EQ(err, 0U);
        EXPECT_TRUE(watch.changed());
        EXPECT_EQ(watch.unannounced(), std::vector<u32>());
        for (const HookEvent &event : watch.hooks().events) {
            if (event.hook != Hook::type_alloc && event.hook != Hook::type_map_insert &&
                event.hook != Hook::type_map_lookup) {
                EXPECT_EQ(event.tx_id, tx);
            }
        }
    }
};
TARN_EACH_MODE(Hooks);

TEST_P(Hooks, EveryFieldsWriteIsAnnounced) {
    st_every *every = make.every(2);
    st_every *other = make.every(9);
    const u32 length = st_every_sizeof(handle);
    st_every_set_all_state_tracking_flag(handle, tx, every, 7);
    const auto expect = [&](const char *name, const std::function<void()> &operation) {
        expect_announced(every, length, name, operation);
    };
    expect("a8", [&] { st_every_a8_set_value(handle, tx, every, 9, &err); });
    expect("a16", [&] { st_every_a16_set_value(handle, tx, every, 9, &err); });
    expect("a32", [&] { st_every_a32_set_value(handle, tx, every, 9, &err); });
    expect("a64", [&] { st_every_a64_set_value(handle, tx, every, 9, &err); });
    expect("s32", [&] { st_every_s32_set_value(handle, tx, every, 9, &err); });
    expect("s64", [&] { st_every_s64_set_value(handle, tx, every, 9, &err); });
    expect("flag", [&] { st_every_flag_set_value(handle, tx, every, 1, &err); });
    expect("lamp", [&] { st_every_lamp_set_value(handle, tx, every, 1, &err); });
    expect("door", [&] { st_every_door_set_value(handle, tx, every, 1, &err); });
    expect("label", [&] { st_every_label_set(handle, tx, every, Text("short"), &err); });
    expect("longer label",
           [&] { st_every_label_set(handle, tx, every, Text("longer than inline"), &err); });
    expect("addr", [&] { st_every_addr_set(handle, tx, every, Address("1.2.3.4"), &err); });
    expect("set_all",
           [&] { st_every_set_all(handle, tx, every, 1, 2, 3, 4, 5, 6, 0, 2, 3, &err); });
    expect("embedded", [&] { st_every_set_instance_embedded(handle, tx, every); });
    const auto bytes = form(st_every_marshal, other);
    expect("unmarshal", [&] { read(st_every_unmarshal, every, bytes); });
    make.check(every, 9);
}

TEST_P(Hooks, ACopysBodyIsAnnounced) {
    st_every *every = make.every(2);
    st_every *other = make.every(9);
    expect_announced(every, every_size, "set",
                     [&] { st_every_set(handle, tx, every, other, &err); });
    st_tag *tag = make.tag(4);
    expect_announced(every, every_size, "tag",
                     [&] { st_every_tag_set(handle, tx, every, tag, &err); });
}

TEST_P(Hooks, EveryArrayWriteIsAnnounced) {
    st_day *day = st_day_create(handle, tx);
    const u32 length = st_day_sizeof(handle);
    const std::vector<u8> source(minutes, 3);
    const u8 byte = 5;
    expect_announced(day, length, "set_mem",
                     [&] { st_day_minute_set_mem(handle, tx, day, source.data(), minutes, &err); });
    expect_announced(day, length, "set",
                     [&] { st_day_minute_set(handle, tx, day, 7, &byte, &err); });
    expect_announced(day, length, "set_value",
                     [&] { st_day_minute_set_value(handle, tx, day, 8, 6, &err); });
    if (!tracking()) return;
    expect_announced(day, length, "flag",
                     [&] { st_day_minute_state_flag_set(handle, tx, day, 8, 6, &err); });
    expect_announced(day, length, "whole flag",
                     [&] { st_day_minute_state_flag_whole_set(handle, tx, day, 6, &err); });
}

TEST_P(Hooks, StoresOfTheXmlReaderAreAnnouncedExceptEnumerations) {
    st_every *every = make.every(2);
    const Document document = parse(
        "<e><a8>99</a8><a64>5</a64><s64>-9</s64><flag>1</flag><label>a new label</label>"
        "<addr>9.9.9.9</addr><tag><name>a name</name><point><x>77</x></point></tag></e>");
    expect_announced(every, st_every_sizeof(handle), "from_xml", [&] {
        st_every_from_xml(handle, tx, "//e", document.get(), every, &err, nullptr, 0);
    });
    EXPECT_EQ(st_every_a8_get_value(handle, tx, every, &err), 99);
}

TEST_P(Hooks, DestructionAnnouncesItsStoresInTheBlock) {
    st_every *every = make.every(3);
    // Removing the object from the hd mapping clears its flag.
    expect_announced(
        every, every_size, "destroy", [&] { st_every_destroy(handle, tx, every); },
        OBJ_STATE_ELSEWHERE);
}

TEST_P(Hooks, AllocationAndCountersAreInTheTransaction) {
    HookRecorder hooks(handle);
    st_every_destroy(handle, tx, make.every(3));
    for (const Hook hook : {Hook::alloc, Hook::free, Hook::delta_log, Hook::write_log}) {
        EXPECT_GT(hooks.count(hook), 0U);
        for (const HookEvent &event : hooks.of(hook)) EXPECT_EQ(event.tx_id, tx);
    }
}

TEST_P(Hooks, CountersAreAnnouncedBeforeTheyChange) {
    const kel_type_info *descriptor = head(make.every(1))->descriptor;
    const kel_variant_usage before = usage(descriptor);
    HookRecorder hooks(handle);
    st_every *every = st_every_create(handle, tx);
    st_every_destroy(handle, tx, every);
    std::vector<std::pair<void *, std::int32_t>> deltas;
    std::vector<u64> values;
    kel_variant_usage &counters = descriptor->variant_info->variants[0];
    for (const HookEvent &event : hooks.of(Hook::delta_log)) {
        if (event.address != &counters.created && event.address != &counters.live &&
            event.address != &counters.destroyed) {
            continue;
        }
        deltas.emplace_back(event.address, event.delta);
        values.push_back(event.counter_before);
    }
    const std::vector<std::pair<void *, std::int32_t>> expected = {{&counters.created, 1},
                                                                   {&counters.live, 1},
                                                                   {&counters.destroyed, 1},
                                                                   {&counters.live, -1}};
    EXPECT_EQ(deltas, expected);
    EXPECT_EQ(values,
              (std::vector<u64>{before.created, before.live, before.destroyed, before.live + 1}));
}

}  // namespace
}  // namespace tarn::test

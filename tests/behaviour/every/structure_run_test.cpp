// SPDX-License-Identifier: Apache-2.0
// Numbers that follow each other are written, read and printed in one call of the runtime. Each
// structure is compared with itself when the service is called for each number: bytes, results,
// errors, announcements and what a rollback restores, in buffers that end anywhere.
#include <algorithm>
#include <random>
#include <tuple>

#include "tests/behaviour/every/objects.h"
#include "tests/support/hooks.h"
#include "tests/support/run_switch.h"

namespace tarn::test {
namespace {

// What a call of marshal, unmarshal, print or to_xml leaves.
struct Outcome {
    u32 result = 0;
    u32 err = 0;
    u32 last_error = 0;
    std::vector<u8> bytes;  // the buffer, or the object's numbers and state block
    std::vector<std::tuple<const void *, u64, std::vector<u8>>> announced;
    bool operator==(const Outcome &) const = default;
};

class Runs : public StructureTest {
 protected:
    void SetUp() override {
        object = typed.create();
        typed.fill(object, 1);
        target = typed.create();
        typed.fill(target, 2);
        form = typed.wire(object);
        if (!tracking) return;
        std::mt19937 random(1);
        for (u32 i = 0; i < type.state_length; ++i) {
            at(object, type.plain_size)[i] = static_cast<u8>(random());
        }
        form = typed.wire(object);
    }
    void TearDown() override {
        RunSwitch::one_by_one = false;
        typed.destroy(target);
        typed.destroy(object);
        StructureTest::TearDown();
    }

    // All lengths of a short form; of a long one its beginning, its end and some between.
    static std::vector<u32> lengths_of(std::size_t size) {
        const auto whole = static_cast<u32>(size);
        std::vector<u32> chosen;
        for (u32 length = 1; length <= whole + 1; ++length) {
            if (length < 200 || length + 50 > whole || length % 97 == 0) chosen.push_back(length);
        }
        return chosen;
    }
    std::vector<u32> lengths() const { return lengths_of(form.size()); }

    // Adds the bytes that runs change, and the headers of nested structures.
    static void add_numbers(const Structure &structure, u8 *place, std::vector<u8> &bytes) {
        for (const Field &field : fields_of(structure)) {
            u8 *const value = place + field.offset;
            const bool is_nested = field.kind == FieldKind::structure;
            const u32 length = is_nested               ? KEL_OBJECT_HEADER_SIZE
                               : is_number(field.kind) ? facts_of(field.kind).size
                                                       : field.elements;
            bytes.insert(bytes.end(), value, value + length);
            if (is_nested) add_numbers(*field.structure, value, bytes);
        }
    }
    std::vector<u8> numbers() const {
        std::vector<u8> bytes;
        add_numbers(type, at(target, 0), bytes);
        if (tracking) {
            const u8 *block = at(target, type.plain_size);
            bytes.insert(bytes.end(), block, block + type.state_length);
        }
        return bytes;
    }

    Outcome marshal(u32 length, u32 err_before) {
        Outcome outcome;
        outcome.bytes.assign(length + 2, 0xee);
        outcome.err = err_before;
        handle->last_error = err_before;
        outcome.result =
            typed.operator()<u32>("marshal", {outcome.bytes.data(), object, length, &outcome.err});
        outcome.last_error = handle->last_error;
        return outcome;
    }

    // An indented text: its closing line steps over bytes of the buffer.
    Outcome print(u32 length) {
        return write_text(length, [&](u8 *buffer, u32 *error) {
            return typed.operator()<u32>("print", {buffer, 3, "name", object, length, error});
        });
    }
    Outcome to_xml(u32 length) {
        return write_text(length, [&](u8 *buffer, u32 *error) {
            return typed.operator()<u32>("to_xml", {"name", buffer, object, length, 0, error});
        });
    }
    template <typename Write>
    Outcome write_text(u32 length, Write write) {
        Outcome outcome;
        outcome.bytes.assign(length + 2, 0xee);
        handle->last_error = 0;
        outcome.result = write(outcome.bytes.data(), &outcome.err);
        outcome.last_error = handle->last_error;
        return outcome;
    }

    // Reads the first `length` bytes in a transaction, which is rolled back.
    Outcome unmarshal(u32 length, bool wrapped) {
        const std::vector<u8> cut(
            form.begin(), form.begin() + std::min<std::ptrdiff_t>(length, std::ssize(form)));
        const std::vector<u8> before = numbers();
        Outcome outcome;
        u32 tx = 0;
        EXPECT_EQ(kel_transaction_begin(handle, &tx), 0U);
        {
            std::unique_ptr<HookRecorder> hooks;
            if (wrapped) hooks = std::make_unique<HookRecorder>(handle);
            outcome.result = Typed(type, handle, tx)
                                 .
                                 operator()<u32>("unmarshal", {cut.data(), target, u32(cut.size()),
                                                               0, &outcome.err});
            if (wrapped) note_announcements(*hooks, outcome);
        }
        outcome.last_error = handle->last_error;
        outcome.bytes = numbers();
        EXPECT_EQ(kel_transaction_rollback(handle, tx), 0U);
        EXPECT_EQ(numbers(), before);
        return outcome;
    }

    void note_announcements(const HookRecorder &hooks, Outcome &outcome) const {
        for (const HookEvent &event :
             hooks.writes_in(target, type.plain_size + type.state_length)) {
            outcome.announced.emplace_back(event.address, event.length, event.before);
        }
    }

    // The same call with runs, and without them.
    template <typename Operation>
    void expect_same(Operation operation) {
        RunSwitch::one_by_one = true;
        const Outcome single = operation();
        RunSwitch::one_by_one = false;
        const Outcome run = operation();
        ASSERT_EQ(run.result, single.result);
        ASSERT_EQ(run.err, single.err);
        ASSERT_EQ(run.last_error, single.last_error);
        ASSERT_EQ(run.bytes, single.bytes);
        ASSERT_TRUE(run.announced == single.announced);
    }

    void *object = nullptr;
    void *target = nullptr;
    std::vector<u8> form;
};
TARN_EACH_STRUCTURE(Runs);

TEST_P(Runs, AreWrittenAsTheirNumbersAre) {
    for (const u32 length : lengths()) {
        SCOPED_TRACE("length " + std::to_string(length));
        expect_same([&] { return marshal(length, 0); });
    }
    expect_same([&] { return marshal(static_cast<u32>(form.size()), EINVAL); });
}

TEST_P(Runs, OfNestedStructuresAreWrittenAndReadWithThoseBesideThem) {
    const auto is_plain = [](const Field &field) {
        return is_number(field.kind) || field.kind == FieldKind::array;
    };
    const bool has_plain_structure = std::ranges::any_of(fields_of(type), [&](const Field &field) {
        return field.kind == FieldKind::structure &&
               std::ranges::all_of(fields_of(*field.structure), is_plain);
    });
    if (!has_plain_structure) return;
    RunSwitch::pieces = 0;
    marshal(static_cast<u32>(form.size()), 0);
    EXPECT_EQ(RunSwitch::pieces > 0, !tracking);
    RunSwitch::pieces = 0;
    unmarshal(static_cast<u32>(form.size()), false);
    EXPECT_EQ(RunSwitch::pieces > 0, !tracking);
    RunSwitch::pieces = 0;
    unmarshal(static_cast<u32>(form.size()), true);
    EXPECT_EQ(RunSwitch::pieces, 0U) << "a hook of the program's own";
}

TEST_P(Runs, InNestedStructuresOfOtherVariantsAreWrittenAsTheirNumbersAre) {
    for (const Field &field : fields_of(type)) {
        if (field.kind != FieldKind::structure) continue;
        auto *const nested = reinterpret_cast<kel_object *>(at(object, field.offset));
        const kel_object before = *nested;
        const std::int8_t top = before.variant;
        for (const int variant : {-1, 0, top - 1, top + 1}) {
            SCOPED_TRACE(std::string(field.name) + " " + std::to_string(variant));
            nested->variant = static_cast<std::int8_t>(variant);
            expect_same([&] { return marshal(static_cast<u32>(form.size()), 0); });
        }
        nested->variant = before.variant;
        nested->flags |= OBJ_RA_DATA;
        expect_same([&] { return marshal(static_cast<u32>(form.size()) + 9, 0); });
        nested->flags = before.flags;
    }
}

TEST_P(Runs, AreReadAsTheirNumbersAreFromFormsWithOneOtherByte) {
    const bool has_nested = std::ranges::any_of(
        fields_of(type), [](const Field &field) { return field.kind == FieldKind::structure; });
    if (!has_nested) return;
    const auto whole = static_cast<u32>(form.size());
    for (const u32 length : lengths()) {
        if (length > whole) continue;
        u8 &byte = form[length - 1];
        const u8 before = byte;
        for (const u8 change : {u8(1), u8(OBJ_STATE_TRACKED), u8(OBJ_RA_DATA), u8(0xff)}) {
            SCOPED_TRACE(std::to_string(length - 1) + " changed by " + std::to_string(change));
            byte = before ^ change;
            expect_same([&] { return unmarshal(whole, false); });
        }
        byte = before;
    }
}

TEST_P(Runs, ArePrintedAsTheirNumbersAre) {
    for (const u32 length : lengths_of(print(1U << 20).result)) {
        SCOPED_TRACE("length " + std::to_string(length));
        expect_same([&] { return print(length); });
    }
}

TEST_P(Runs, AreWrittenAsXmlAsTheirNumbersAre) {
    for (const u32 length : lengths_of(to_xml(1U << 20).result)) {
        SCOPED_TRACE("length " + std::to_string(length));
        expect_same([&] { return to_xml(length); });
    }
}

TEST_P(Runs, AreReadAndRolledBackAsTheirNumbersAre) {
    for (const u32 length : lengths()) {
        SCOPED_TRACE("length " + std::to_string(length));
        expect_same([&] { return unmarshal(length, false); });
    }
}

TEST_P(Runs, AreAnnouncedToAProgramsOwnHookAsTheirNumbersAre) {
    for (const u32 length : {static_cast<u32>(form.size()), static_cast<u32>(form.size() / 2)}) {
        SCOPED_TRACE("length " + std::to_string(length));
        expect_same([&] { return unmarshal(length, true); });
    }
}

// With tracking on, a state byte follows each field on the wire, and only arrays are runs.
TEST_P(Runs, AreTheNumbersThatFollowEachOtherInTheObject) {
    const bool has_run = std::ranges::any_of(fields_of(type), [this](const Field &field) {
        return field.kind == FieldKind::array || (field.run > 1 && !tracking);
    });
    const u64 before = RunSwitch::runs + RunSwitch::pieces;
    Typed(type, handle).wire(object);
    if (has_run) {
        EXPECT_GT(RunSwitch::runs + RunSwitch::pieces, before);
    }
    for (const Field &field : fields_of(type)) {
        const Field *const next = &field + 1;
        const bool is_last = next == type.fields + type.field_count;
        const bool follows = !is_last && is_number(field.kind) && next->kind == field.kind &&
                             next->first_variant == field.first_variant &&
                             next->offset == field.offset + facts_of(field.kind).size;
        EXPECT_EQ(field.run, follows ? next->run + 1 : 1) << field.name;
    }
}

}  // namespace
}  // namespace tarn::test

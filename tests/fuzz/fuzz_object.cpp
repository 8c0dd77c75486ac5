// SPDX-License-Identifier: Apache-2.0
#include "object/enumeration.h"
#include "object/object.h"
#include "tests/fuzz/exercise.h"
#include "tests/fuzz/fill.h"
#include "tests/fuzz/input.h"
#include "tests/support/module.h"

namespace tarnbase::fuzz {

namespace {

void read_structure(const Structure &type, const Conditions &conditions, const Buffer &form,
                    u8 portion) {
    const Round round(conditions);
    Random random(1);
    void *object =
        conditions.used ? make_object(type, round, random) : object::create(type, round.call());
    u32 err = 0;
    object::unmarshal(type, round.call(err), {form.data(), form.size()}, object,
                      conditions.in_place ? InPlace::yes : InPlace::no);
    require((err == 0) == (round.handle()->last_error == 0), "an error is kept in the handle");
    exercise(type, round, object, portion);
    object::destroy(type, round.call(), object);
}

void read_enumeration(const Enumeration &type, const Conditions &conditions, const Buffer &form,
                      u8 portion) {
    const Round round(conditions);
    auto *object = enumeration::create(type, round.call());
    u32 err = 0;
    const u32 taken =
        enumeration::unmarshal(type, round.call(err), {form.data(), form.size()}, object,
                               conditions.in_place ? InPlace::yes : InPlace::no);
    require(err != 0 || taken == enumeration::len(), "an enumeration takes its length");
    exercise(type, round, object, portion);
    enumeration::destroy(type, round.call(), object);
}

}  // namespace

void fuzz_object(Bytes bytes) {
    Input input(bytes);
    const u8 item = input.byte();
    const Conditions conditions(input.byte());
    const u8 portion = input.byte();
    const Buffer form = input.rest();
    const auto structures = static_cast<u32>(all_structures().size());
    const u32 choice = item % (structures + static_cast<u32>(all_enumerations().size()));
    if (choice < structures) {
        read_structure(*all_structures()[choice], conditions, form, portion);
    } else {
        read_enumeration(*all_enumerations()[choice - structures], conditions, form, portion);
    }
}

}  // namespace tarnbase::fuzz

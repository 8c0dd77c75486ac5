// SPDX-License-Identifier: Apache-2.0
// Cap'n Proto: encoding builds the form from the values, decoding reads all fields in it.
#include <benchmark/benchmark.h>
#include <capnp/message.h>

#include <cstring>
#include <memory>
#include <vector>

#include "bench/forms/fields.h"
#include "bench/forms/forms.h"
#include "forms.capnp.h"

namespace bench {
namespace {

#define SET_FIELD(i) form.setF##i(object.numbers[(i)-1]);
#define READ_FIELD(i) sum += form.getF##i();

void set(forms_capnp::Small::Builder form, const Small &object) {
    form.setName(capnp::Text::Reader(object.name.data(), object.name.size()));
    EACH_OF_18(SET_FIELD)
}

void set(forms_capnp::Large::Builder form, const Large &object) {
    form.setName(capnp::Text::Reader(object.name.data(), object.name.size()));
    EACH_OF_40(SET_FIELD)
    form.setMinute(capnp::Data::Reader(object.minute.data(), object.minute.size()));
}

std::uint32_t read(forms_capnp::Small::Reader form) {
    auto sum = static_cast<std::uint32_t>(form.getName().size());
    EACH_OF_18(READ_FIELD)
    return sum;
}

// Copies the bytes, as other contenders do.
std::uint32_t read(forms_capnp::Large::Reader form) {
    auto sum = static_cast<std::uint32_t>(form.getName().size());
    EACH_OF_40(READ_FIELD)
    std::array<std::uint8_t, 1440> minute;
    std::memcpy(minute.data(), form.getMinute().begin(), minute.size());
    benchmark::DoNotOptimize(minute.data());
    return sum;
}

using Words = std::array<capnp::word, 512>;

template <typename Form, typename Object>
void build_rounds(const Object &object, std::uint32_t rounds) {
    Words words{};
    for (; rounds > 0; --rounds) {
        capnp::MallocMessageBuilder message(kj::arrayPtr(words.data(), words.size()));
        set(message.initRoot<Form>(), object);
        benchmark::DoNotOptimize(message.getSegmentsForOutput());
    }
}

template <typename Form, typename Object>
void add(Forms &forms) {
    const auto object = std::make_shared<Object>(filled<Object>());
    const auto words = std::make_shared<std::vector<capnp::word>>();
    capnp::MallocMessageBuilder message;
    set(message.initRoot<Form>(), *object);
    const auto segment = message.getSegmentsForOutput()[0];
    words->assign(segment.begin(), segment.end());
    forms.encode.push_back(
        {"Cap'n Proto", [=](std::uint32_t rounds) { build_rounds<Form>(*object, rounds); }});
    forms.decode.push_back({"Cap'n Proto", [=](std::uint32_t rounds) {
                                for (; rounds > 0; --rounds) {
                                    const kj::ArrayPtr<const capnp::word> part(words->data(),
                                                                               words->size());
                                    capnp::SegmentArrayMessageReader reader(kj::arrayPtr(&part, 1));
                                    benchmark::DoNotOptimize(read(reader.getRoot<Form>()));
                                }
                            }});
}

}  // namespace

void add_capnp(Forms &small, Forms &large) {
    add<forms_capnp::Small, Small>(small);
    add<forms_capnp::Large, Large>(large);
}

}  // namespace bench

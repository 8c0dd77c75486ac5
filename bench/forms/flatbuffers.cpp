// SPDX-License-Identifier: Apache-2.0
// FlatBuffers: encoding builds the form from the values, decoding reads all fields in it.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "bench/forms/fields.h"
#include "bench/forms/forms.h"
#include "forms_generated.h"

namespace bench {
namespace {

#define ADD_FIELD(i) builder.add_f##i(object.numbers[(i)-1]);
#define READ_FIELD(i) sum += form.f##i();

void build(flatbuffers::FlatBufferBuilder &into, const Small &object) {
    const auto name = into.CreateString(object.name);
    forms_flat::SmallBuilder builder(into);
    builder.add_name(name);
    EACH_OF_18(ADD_FIELD)
    into.Finish(builder.Finish());
}

void build(flatbuffers::FlatBufferBuilder &into, const Large &object) {
    const auto name = into.CreateString(object.name);
    const auto minute = into.CreateVector(object.minute.data(), object.minute.size());
    forms_flat::LargeBuilder builder(into);
    builder.add_name(name);
    EACH_OF_40(ADD_FIELD)
    builder.add_minute(minute);
    into.Finish(builder.Finish());
}

std::uint32_t read(const forms_flat::Small &form) {
    std::uint32_t sum = form.name()->size();
    EACH_OF_18(READ_FIELD)
    return sum;
}

// Copies the bytes, as other contenders do.
std::uint32_t read(const forms_flat::Large &form) {
    std::uint32_t sum = form.name()->size();
    EACH_OF_40(READ_FIELD)
    std::array<std::uint8_t, 1440> minute;
    std::memcpy(minute.data(), form.minute()->data(), minute.size());
    benchmark::DoNotOptimize(minute.data());
    return sum;
}

template <typename Form>
void read_rounds(const std::vector<std::uint8_t> &bytes, bool verifies, std::uint32_t rounds) {
    for (; rounds > 0; --rounds) {
        const std::uint8_t *start = bytes.data();
        benchmark::DoNotOptimize(start);
        if (verifies) {
            flatbuffers::Verifier verifier(start, bytes.size());
            if (!verifier.VerifyBuffer<Form>(nullptr)) std::abort();
        }
        benchmark::DoNotOptimize(read(*flatbuffers::GetRoot<Form>(start)));
    }
}

template <typename Form, typename Object>
void add(Forms &forms) {
    const auto object = std::make_shared<Object>(filled<Object>());
    flatbuffers::FlatBufferBuilder builder;
    build(builder, *object);
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>(
        builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize());
    forms.encode.push_back({"FlatBuffers", [=](std::uint32_t rounds) {
                                flatbuffers::FlatBufferBuilder into(4096);
                                for (; rounds > 0; --rounds) {
                                    into.Clear();
                                    build(into, *object);
                                    benchmark::DoNotOptimize(into.GetBufferPointer());
                                }
                            }});
    forms.decode.push_back({"FlatBuffers, verified", [=](std::uint32_t rounds) {
                                read_rounds<Form>(*bytes, true, rounds);
                            }});
    forms.decode.push_back({"FlatBuffers, unverified", [=](std::uint32_t rounds) {
                                read_rounds<Form>(*bytes, false, rounds);
                            }});
}

}  // namespace

void add_flatbuffers(Forms &small, Forms &large) {
    add<forms_flat::Small, Small>(small);
    add<forms_flat::Large, Large>(large);
}

}  // namespace bench

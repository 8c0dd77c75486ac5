// SPDX-License-Identifier: Apache-2.0
// Protocol Buffers with fixed32 fields. A message is filled once, and reused for decoding.
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/forms/fields.h"
#include "bench/forms/forms.h"
#include "forms.pb.h"

namespace bench {
namespace {

#define SET_FIELD(i) message.set_f##i(object.numbers[(i)-1]);

void fill(forms_proto::Small &message, const Small &object) {
    message.set_name(object.name);
    EACH_OF_18(SET_FIELD)
}

void fill(forms_proto::Large &message, const Large &object) {
    message.set_name(object.name);
    EACH_OF_40(SET_FIELD)
    message.set_minute(object.minute.data(), object.minute.size());
}

template <typename Message, typename Object>
void add(Forms &forms) {
    const auto message = std::make_shared<Message>();
    fill(*message, filled<Object>());
    const auto form = std::make_shared<std::string>(message->SerializeAsString());
    forms.encode.push_back({"protobuf", [=](std::uint32_t rounds) {
                                std::array<char, 2048> buffer;
                                for (; rounds > 0; --rounds) {
                                    message->SerializeToArray(buffer.data(), buffer.size());
                                    benchmark::DoNotOptimize(buffer.data());
                                }
                            }});
    forms.decode.push_back({"protobuf", [=](std::uint32_t rounds) {
                                Message read;
                                for (; rounds > 0; --rounds) {
                                    read.ParseFromArray(form->data(),
                                                        static_cast<int>(form->size()));
                                    benchmark::DoNotOptimize(&read);
                                }
                            }});
}

}  // namespace

void add_protobuf(Forms &small, Forms &large) {
    add<forms_proto::Small, Small>(small);
    add<forms_proto::Large, Large>(large);
}

}  // namespace bench

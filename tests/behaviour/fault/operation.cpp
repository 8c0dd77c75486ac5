// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

std::vector<Target> targets_of(On on) {
    const Target keyed{&test_pair, &kind_pair, &kind_pair_key};
    switch (on) {
        case On::tables:
        case On::id_tables: {
            std::vector<Target> all = {
                keyed, {&test_grown, &kind_grown, nullptr}, {&test_single, &kind_single, nullptr}};
            for (const Subject *each : {&test_number, &test_label, &test_address, &test_lamp}) {
                all.push_back({each, &kind_every, nullptr});
            }
            return all;
        }
        case On::keyed_tables:
            return {keyed};
        case On::structures:
            return {{nullptr, &kind_every, nullptr},
                    {nullptr, &kind_grown, nullptr},
                    {nullptr, &kind_tag, nullptr},
                    {nullptr, &kind_pair_key, nullptr}};
        case On::every:
            return {{nullptr, &kind_every, nullptr}};
        case On::grown:
            return {{nullptr, &kind_grown, nullptr}};
        case On::enumeration:
            return {{nullptr, &kind_lamp, nullptr}};
    }
    return {};
}

std::vector<Operation> joined(std::initializer_list<const std::vector<Operation> *> parts) {
    std::vector<Operation> all;
    for (const auto *part : parts) all.insert(all.end(), part->begin(), part->end());
    return all;
}

const std::vector<Operation> &all_operations() {
    static const std::vector<Operation> tables = table_operations(), reads = read_operations(),
                                        forms = form_operations(), objects = object_operations(),
                                        fields = field_operations();
    static const std::vector<Operation> all = joined({&tables, &reads, &forms, &objects, &fields});
    return all;
}

}  // namespace tarn::test

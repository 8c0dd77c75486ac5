// SPDX-License-Identifier: Apache-2.0
// Which operations each value type has, and what all of them do if an error is set on
// entry.
#include <dlfcn.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

enum Sets : unsigned { scalar = 1, boolean = 2, object = 4 };

struct Operation {
    const char *name;
    unsigned sets;
};

constexpr Operation operations[] = {
    {"get", scalar | boolean | object},
    {"get_value", scalar | boolean},
    {"set", scalar | boolean | object},
    {"set_value", scalar | boolean},
    {"hash", scalar | boolean | object},
    {"len", scalar | boolean | object},
    {"marshal", scalar | boolean | object},
    {"unmarshal", scalar | boolean | object},
    {"print", scalar | boolean | object},
    {"to_xml", scalar | boolean | object},
    {"from_xml", scalar | boolean | object},
    {"backpropagate", scalar | boolean},
    {"type_type_backpropagate", object},
    {"compare", boolean | object},
    {"initialize", boolean | object},
    {"set_instance_embedded", boolean | object},
    {"destroy_internal", object},
    {"get_oid_count", object},
    {"get_object_references", object},
    {"offset_update", object},
    {"offset_remove", object},
};

struct ValueType {
    const char *name;
    Sets set;
};

constexpr ValueType value_types[] = {
    {"u_int8", scalar},       {"u_int16", scalar},     {"u_int32", scalar},
    {"u_int64", scalar},      {"int32", scalar},       {"int64", scalar},
    {"kel_boolean", boolean}, {"kel_vstring", object}, {"ip_address", object},
};

using Word = std::uint64_t;
using Anything = Word (*)(Word, Word, Word, Word, Word, Word, Word, Word, Word);

Word word(const void *address) { return reinterpret_cast<std::uintptr_t>(address); }

class OperationSets : public ValueTest {
 protected:
    static void *find(const ValueType &type, const std::string &operation) {
        return dlsym(RTLD_DEFAULT, (std::string(type.name) + "_" + operation).c_str());
    }
    // The arguments after handle and transaction, as the operation takes them.
    std::vector<Word> arguments(const std::string &operation) {
        const Word value = word(value_);
        const Word error = word(&err);
        const Word space = sizeof buffer_;
        if (operation == "marshal") return {word(buffer_), value, space, error};
        if (operation == "unmarshal") return {word(buffer_), value, space, 0, error};
        if (operation == "print") return {word(buffer_), 0, word("n"), value, space, error};
        if (operation == "to_xml") return {word("n"), word(buffer_), value, space, 0, error};
        if (operation == "from_xml") {
            return {word("//o/f"), word(document_.get()), value, error, 0, 0};
        }
        if (operation == "initialize") {
            return {value, word(&_kel_vstring_type_info_internal), 1, 0, 4, 0, error};
        }
        if (operation == "set" || operation == "offset_update") return {value, word(other_), error};
        if (operation == "set_value") return {value, 1, error};
        if (operation == "get_object_references") return {value, word(other_), 1, error};
        return {value, error};
    }
    Word run(void *function, const std::string &operation) {
        std::vector<Word> all = {word(handle), tx};
        for (const Word each : arguments(operation)) all.push_back(each);
        all.resize(9);
        return reinterpret_cast<Anything>(function)(all[0], all[1], all[2], all[3], all[4], all[5],
                                                    all[6], all[7], all[8]);
    }

    void *const value_ = handle->alloc_hook(handle->arena, tx, 32);
    char other_[32] = {1};
    char buffer_[64] = "1";
    const Document document_ = parse("<o><f>1</f></o>");
};

TEST_F(OperationSets, HaveOnlyTheOperationsOfTheirKind) {
    for (const ValueType &type : value_types) {
        for (const Operation &operation : operations) {
            EXPECT_EQ(find(type, operation.name) != nullptr, (operation.sets & type.set) != 0)
                << type.name << "_" << operation.name;
        }
    }
}

TEST_F(OperationSets, AnErrorOnEntryStopsEveryOperationThatTakesOne) {
    for (const ValueType &type : value_types) {
        for (const Operation &operation : operations) {
            const std::string name = operation.name;
            const bool takes_error = name != "hash" && name != "len" && name != "compare" &&
                                     name != "set_instance_embedded" && name != "destroy_internal";
            if ((operation.sets & type.set) == 0 || !takes_error) continue;
            SCOPED_TRACE(std::string(type.name) + "_" + name);
            std::memset(value_, type.set == scalar ? 9 : 0, 32);
            // A modified mark and a boolean.
            if (type.set != scalar) static_cast<kel_object *>(value_)->flags = 128;
            if (type.set == boolean) static_cast<kel_boolean *>(value_)->value = 1;
            const std::string before(static_cast<const char *>(value_), 32);
            const std::string buffer(buffer_, sizeof buffer_);
            const std::string other(other_, sizeof other_);
            err = EIO;
            handle->last_error = EINVAL;
            const HookRecorder hooks(handle);
            // A narrow result leaves the rest of the register unchanged.
            const auto result = static_cast<std::uint8_t>(run(find(type, name), name));
            const bool returns_nothing = name == "set" || name == "set_value" ||
                                         name == "from_xml" || name == "initialize" ||
                                         name == "get_object_references" ||
                                         name.compare(0, 6, "offset") == 0;
            EXPECT_TRUE(returns_nothing || result == 0);
            EXPECT_EQ(err, EIO);
            EXPECT_EQ(handle->last_error, EINVAL);
            EXPECT_TRUE(hooks.events.empty());
            EXPECT_EQ(std::string(static_cast<const char *>(value_), 32), before);
            EXPECT_EQ(std::string(buffer_, sizeof buffer_), buffer);
            EXPECT_EQ(std::string(other_, sizeof other_), other);
        }
    }
}

TEST_F(OperationSets, ANullValueHasTheLengthOfAnEmptyOneAndNoAccess) {
    for (const ValueType &type : value_types) {
        SCOPED_TRACE(type.name);
        std::memset(value_, 0, 32);
        using Length = std::uint32_t (*)(kel_handle *, std::uint32_t, const void *);
        using Access = void *(*)(kel_handle *, std::uint32_t, void *, std::uint32_t *);
        const auto length = reinterpret_cast<Length>(find(type, "len"));
        EXPECT_EQ(length(handle, tx, nullptr), length(handle, tx, value_));
        const auto get = reinterpret_cast<Access>(find(type, "get"));
        EXPECT_EQ(get(handle, tx, nullptr, &err), nullptr);
        EXPECT_EQ(get(handle, tx, value_, &err), value_);
        EXPECT_EQ(err, 0U);
    }
}

TEST_F(OperationSets, InPlaceMakesNoDifferenceToAValueThatIsRead) {
    for (const ValueType &type : value_types) {
        SCOPED_TRACE(type.name);
        using Read = std::uint32_t (*)(kel_handle *, std::uint32_t, const void *, void *,
                                       std::uint32_t, std::uint32_t, std::uint32_t *);
        const auto read = reinterpret_cast<Read>(find(type, "unmarshal"));
        const std::uint8_t wire[17] = {4, 0, 0, 0, 'a', 'b', 'c', 'd'};
        std::string results[2];
        for (const std::uint32_t in_place : {0U, 1U}) {
            std::memset(value_, 0, 32);
            const std::uint32_t taken = read(handle, tx, wire, value_, sizeof wire, in_place, &err);
            EXPECT_EQ(err, 0U);
            results[in_place] =
                std::string(static_cast<const char *>(value_), 32) + std::to_string(taken);
        }
        EXPECT_EQ(results[0], results[1]);
    }
}

}  // namespace
}  // namespace tarn::test

// SPDX-License-Identifier: Apache-2.0
// The life of each enumeration: its counters, its fallback object, its variants.
#include <algorithm>
#include <cerrno>

#include "tests/behaviour/every/enumerated.h"
#include "tests/support/hooks.h"

namespace tarn::test {
namespace {

class EnumerationLife : public EveryEnumeration {
 protected:
    // The counters of the descriptor that this handle's objects have.
    const kel_variant_usage &counters(const kel_type_info *descriptor) const {
        return descriptor->variant_info->variants[0];
    }
    void domain(int variant) {
        kel_handle_set_variant(handle, type.descriptor, static_cast<std::int8_t>(variant));
    }
};
TARN_EACH_ENUMERATION(EnumerationLife);

TEST_P(EnumerationLife, IsCountedAsCreatedAndDestroyedAndNeverAsLive) {
    kel_enum_object *object = begin();
    const kel_type_info *descriptor = object->descriptor;
    end(object);
    const kel_variant_usage before = counters(descriptor);
    HookRecorder hooks(handle);
    object = begin();
    EXPECT_EQ(counters(descriptor).created, before.created + 1);
    EXPECT_EQ(counters(descriptor).live, 0U);
    EXPECT_EQ(hooks.of(Hook::alloc).back().length, 16U) << "in every mode";
    end(object);
    EXPECT_EQ(counters(descriptor).destroyed, before.destroyed + 1);
    EXPECT_EQ(counters(descriptor).live, 0U);
    const auto deltas = hooks.of(Hook::delta_log);
    ASSERT_EQ(deltas.size(), 2U);
    EXPECT_EQ(deltas[0].address, &counters(descriptor).created);
    EXPECT_EQ(deltas[1].address, &counters(descriptor).destroyed);
    for (const HookEvent &each : deltas) EXPECT_EQ(each.delta, 1);
}

TEST_P(EnumerationLife, HasAFallbackObjectThatIsNeverDestroyed) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(begin(), nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    auto *fallback = call<kel_enum_object *>(name("create_cr"), {handle});
    EXPECT_EQ(fallback, type.fallback);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(call<kel_enum_object *>(name("create_cr"), {handle}), fallback);
    hooks.clear();
    end(fallback);
    on("destroy_internal", {fallback, 1});
    call(name("destroy_cr"), {handle, fallback});
    end(nullptr);
    on("destroy_internal", {nullptr, 1});
    EXPECT_TRUE(hooks.events.empty());
    const kel_enum_object zero = {};
    EXPECT_EQ(0, std::memcmp(fallback, &zero, sizeof zero));
    kel_clear_last_error(handle);
}

TEST_P(EnumerationLife, KeepsTheDomainsVariantAndAcceptsAnyValueOfALaterOne) {
    domain(2);
    kel_enum_object *object = begin();
    EXPECT_EQ(object->variant, 2);
    EXPECT_EQ(object->created_variant, 2);
    on("set_value", {object, past(), &err});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(object->value, past());
    EXPECT_EQ(call<u32>(name("is_valid_cr"), {handle, past()}), 1U);
    u8 bytes[5] = {9, 9, 9, 9, 9};
    on<u32>("marshal", {bytes, object, 5, &err});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes[0], 0);
    // If the domain has become older, that is reported, and the object is still written.
    domain(1);
    bytes[0] = 9;
    EXPECT_EQ(on<u32>("marshal", {bytes, object, 5, &err}), 5U);
    EXPECT_EQ(err, EIDRM);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], past());
    err = 0;
    domain(0);
    end(object);
}

TEST_P(EnumerationLife, UsesItsNameInTraces) {
    EXPECT_EQ(on<u32>("backpropagate", {nullptr, &err}), 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_INFO, std::string("(info): backpropagate: Null pointer to ") +
                                              type.name + " enum"),
              1U)
        << trace.all();
    on("set_instance_embedded", {nullptr});
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Invalid object handle passed to set embedded flag"));
}

TEST_P(EnumerationLife, IsCopiedWithFlagsAndDescriptorButSetByValueWithout) {
    kel_enum_object nested = {};
    on("initialize", {&nested, type.descriptor, 0, 1, OBJ_NESTED, nullptr, &err});
    on("set_value", {&nested, first(), &err});
    EXPECT_EQ(nested.flags & OBJ_NESTED, OBJ_NESTED);
    kel_enum_object *source = begin(past() - 1);
    HookRecorder hooks(handle);
    on("set_value", {source, first(), &err});
    on("set", {&nested, source, &err});
    ASSERT_EQ(hooks.count(Hook::write_log), 2U);
    EXPECT_TRUE(hooks.announced(&source->value, 4));
    EXPECT_TRUE(hooks.announced(&nested, 16));
    EXPECT_EQ(nested.flags & OBJ_NESTED, 0);
    EXPECT_EQ(nested.descriptor, source->descriptor);
    EXPECT_EQ(nested.value, first());
    end(source);
}

TEST_P(EnumerationLife, EnteredWithAnErrorChangesNothing) {
    kel_enum_object *object = begin(past() - 1);
    kel_enum_object *source = begin(first());
    const kel_enum_object before = *object;
    const u8 wire[5] = {};
    u8 bytes[64] = {};
    err = EIO;
    handle->last_error = EINVAL;
    HookRecorder hooks(handle);
    on("set", {object, source, &err});
    on("set_value", {object, first(), &err});
    on("initialize", {object, type.descriptor, 0, 1, OBJ_NESTED, nullptr, &err});
    EXPECT_EQ(on<u32>("unmarshal", {wire, object, 5, 0, &err}), 0U);
    EXPECT_EQ(on<u32>("marshal", {bytes, object, 5, &err}), 0U);
    EXPECT_EQ(on<u32>("print", {bytes, 0, "f", object, 64, &err}), 0U);
    EXPECT_EQ(on<u32>("to_xml", {"f", bytes, object, 64, 0, &err}), 0U);
    EXPECT_EQ(on<u32>("get_value", {object, &err}), 0U);
    EXPECT_EQ(call<u32>(name("len_cr"), {handle}), 0U);
    EXPECT_EQ(call<u32>(name("print_cr"), {handle, object, bytes, 64}), 0xffffffffU);
    EXPECT_EQ(call<u32>(name("toxml_cr"), {handle, object, bytes, 64}), 0xffffffffU);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(0, std::memcmp(object, &before, sizeof before));
    EXPECT_EQ(std::count(std::begin(bytes), std::end(bytes), 0), 64);
    err = 0;
    kel_clear_last_error(handle);
    end(object);
    end(source);
}

}  // namespace
}  // namespace tarn::test

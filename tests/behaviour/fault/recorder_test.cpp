// SPDX-License-Identifier: Apache-2.0
// The recorder: it records the library's calls only, and makes services fail as their
// contracts say.
#include <dlfcn.h>

#include <cerrno>
#include <fstream>
#include <set>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/subject.h"
#include "tests/support/fixture.h"
#include "tests/support/services.h"

namespace tarn::test {

namespace {

// Imported, but no functions.
const std::set<std::string> imported_data = {
    "_ip_address_type_info_internal", "_kel_boolean_type_info_internal",
    "_kel_vstring_type_info_internal", "kel_module_tot_root"};

std::set<std::string> imported_functions() {
    std::set<std::string> names;
    std::ifstream list(TARNBASE_IMPORTS_LIST);
    for (std::string name; std::getline(list, name);) {
        if (!name.empty() && !imported_data.contains(name)) names.insert(name);
    }
    return names;
}

std::string file_of(const void *address) {
    Dl_info info = {};
    return dladdr(address, &info) != 0 ? info.dli_fname : "";
}

class Recorder : public PlainTest {
 protected:
    const Subject &subject = test_label;
    kel_table *const table = subject.plain.open(handle, tx, "t", 0, &err);
    kel_record *const record = make_record(1);

    kel_record *make_record(u32 key) {
        kel_record *made = subject.plain.create_record(handle, tx, &err);
        void *object = subject.object.type->create(handle, tx);
        subject.set_key(handle, tx, object, key, &err);
        subject.object.set(handle, tx, made, object);
        return made;
    }
};

TEST_F(Recorder, ReplacesEveryImportedService) {
    std::set<std::string> recorded;
    for (const ServiceInfo &service : recorded_services()) recorded.insert(service.name);
    EXPECT_EQ(recorded, imported_functions())
        << "a service that the library imports is a line of tests/support/service_list.h";
    EXPECT_EQ(recorded.size(), recorded_services().size());
    const std::string program = file_of(reinterpret_cast<const void *>(&file_of));
    for (const std::string &name : recorded) {
        EXPECT_EQ(file_of(dlsym(RTLD_DEFAULT, name.c_str())), program) << name;
    }
}

TEST_F(Recorder, KeepsServicesAndHooksInOneSequence) {
    ServiceRecorder recorder(handle);
    subject.plain.insert(handle, tx, table, record, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(recorder.order({"e_avl_insert", "write_log_hook", "mt_get_tenant_id"}),
              "e_avl_insert write_log_hook write_log_hook write_log_hook mt_get_tenant_id "
              "write_log_hook");
    EXPECT_EQ(recorder.count("e_avl_insert"), 1U);
    EXPECT_EQ(recorder.count("e_avl_delete"), 0U);
    recorder.clear();
    EXPECT_TRUE(recorder.calls().empty());
}

TEST_F(Recorder, KeepsArgumentsResultsAndTheBytesAnnounced) {
    ServiceRecorder recorder(handle);
    subject.plain.insert(handle, 77, table, record, &err);
    const ServiceCall insert = recorder.calls("e_avl_insert").at(0);
    EXPECT_EQ(insert.pointer<void>(0), handle->arena);
    EXPECT_EQ(insert.arguments.at(1), 77U);
    EXPECT_EQ(insert.pointer<void *>(2), &table->index_root);
    EXPECT_EQ(insert.pointer<kel_index_node>(3), &record->index_node);
    EXPECT_EQ(insert.arguments.size(), 6U);
    EXPECT_NE(insert.result, 0U);
    EXPECT_FALSE(insert.failed);
    const ServiceCall link = recorder.calls("write_log_hook").at(0);
    EXPECT_EQ(link.pointer<kel_table *>(1), &record->table);
    EXPECT_EQ(link.before, std::vector<std::uint8_t>(8, 0));
    EXPECT_EQ(record->table, table);
}

TEST_F(Recorder, ReportsWhatWasAnnouncedBeforeACall) {
    ServiceRecorder recorder(handle);
    subject.plain.insert(handle, tx, table, record, &err);
    std::size_t tree = 0;
    while (recorder.calls().at(tree).name != "e_avl_insert") ++tree;
    EXPECT_FALSE(recorder.announced(&record->table, 8, tree));
    EXPECT_TRUE(recorder.announced(&record->table, 8, recorder.calls().size()));
    EXPECT_FALSE(recorder.announced(&record->table, 4, recorder.calls().size()));
}

TEST_F(Recorder, DoesNotCountWhatTheRuntimeCallsItself) {
    ServiceRecorder recorder(handle);
    auto *object = static_cast<st_every *>(record->object);
    std::uint32_t length = 0;
    std::vector<std::uint8_t> buffer(512);
    st_every_door_set_value(handle, tx, object, 2, &err);
    recorder.clear();
    // The runtime's value types call its other services.
    length = st_every_marshal(handle, tx, buffer.data(), object, 512, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(recorder.count("u_int32_marshal"), 4U);  // a32 and three enumerations
    recorder.clear();
    // A full buffer: the runtime reports the error, not the library.
    st_every_marshal(handle, tx, buffer.data(), object, length - 1, &err);
    EXPECT_EQ(err, EMSGSIZE);
    EXPECT_EQ(recorder.count("kel_store_err"), 0U);
    // A call by the program, in which the runtime calls further services.
    err = 0;
    recorder.clear();
    kel_vstring_assign_text(handle, tx, st_every_label_get(handle, tx, object, &err), "x", &err);
    EXPECT_EQ(recorder.count("kel_vstring_set"), 0U);
}

TEST_F(Recorder, FailsTheNthCallOnceWithTheServicesFailure) {
    ServiceRecorder recorder(handle);
    recorder.fail("e_avl_insert", 2);
    subject.plain.insert(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    subject.plain.insert(handle, tx, table, make_record(2), &err);
    EXPECT_EQ(err, EEXIST);
    EXPECT_TRUE(recorder.calls("e_avl_insert").at(1).failed);
    EXPECT_TRUE(recorder.stop_failing());
    EXPECT_FALSE(recorder.stop_failing());
    err = 0;
    subject.plain.insert(handle, tx, table, make_record(3), &err);
    EXPECT_EQ(err, 0U);

    recorder.fail("kelrepl_add_to_cache", 1);
    EXPECT_EQ(subject.by_key.first(handle, tx, table, &err), record);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, ENOMEM);
    err = 0;
    recorder.fail("kelrepl_add_to_cache", 1, 99);
    subject.by_key.first(handle, tx, table, &err);
    EXPECT_EQ(err, 99U);
}

TEST_F(Recorder, FailsHooksThroughTheSameInterface) {
    ServiceRecorder recorder(handle);
    recorder.fail("alloc_hook", 2);
    err = 0;
    EXPECT_NE(subject.plain.create_record(handle, tx, &err), nullptr);
    EXPECT_EQ(subject.plain.create_record(handle, tx, &err), nullptr);
    EXPECT_NE(subject.plain.create_record(handle, tx, &err), nullptr);
    EXPECT_TRUE(recorder.calls("alloc_hook").at(1).failed);
}

TEST_F(Recorder, FindsTheErrorWordOfEachService) {
    kel_xml_document *document = kel_xml_parse("<st_every/>", 11);
    ServiceRecorder recorder(handle);
    recorder.fail("u_int8_from_xml", 1, EPROTO);
    char message[64] = {};
    st_every_from_xml(handle, tx, "//st_every", document, static_cast<st_every *>(record->object),
                      &err, message, sizeof message);
    EXPECT_EQ(err, EPROTO);
    kel_xml_free(document);
}

TEST_F(Recorder, CallsAFunctionOfTheTestInsteadOfAService) {
    ServiceRecorder recorder(handle);
    recorder.replace(mt_get_tenant_id, [](std::uint16_t *tenant) {
        mt_get_tenant_id(tenant);
        *tenant = static_cast<std::uint16_t>(*tenant + 9);
    });
    EXPECT_EQ(make_record(2)->tenant_id, 9U);
    EXPECT_EQ(recorder.count("mt_get_tenant_id"), 1U) << "the call of the function isn't counted";
    recorder.replace(mt_get_tenant_id, nullptr);
    const kel_record *made = make_record(3);
    EXPECT_EQ(made->tenant_id, 0U);
    EXPECT_EQ(recorder.calls("mt_get_tenant_id", &made->tenant_id).at(0).arguments,
              words(&made->tenant_id));
}

TEST_F(Recorder, RecordsNothingWhilePausedOrAfterItsEnd) {
    {
        ServiceRecorder recorder(handle);
        recorder.fail("e_avl_insert", 1);
        recorder.pause(true);
        subject.plain.insert(handle, tx, table, record, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_TRUE(recorder.calls().empty());
        recorder.pause(false);
        subject.plain.insert(handle, tx, table, make_record(2), &err);
        EXPECT_EQ(err, EEXIST);
        err = 0;
        recorder.fail("e_avl_insert", 1);
    }
    subject.plain.insert(handle, tx, table, make_record(3), &err);
    EXPECT_EQ(err, 0U);
}

}  // namespace

}  // namespace tarn::test

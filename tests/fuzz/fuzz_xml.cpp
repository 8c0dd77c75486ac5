// SPDX-License-Identifier: Apache-2.0
#include <libxml/xmlerror.h>

#include <memory>
#include <string>

#include "object/enumeration.h"
#include "object/fields.h"
#include "object/object.h"
#include "table/table.h"
#include "tests/fuzz/exercise.h"
#include "tests/fuzz/fill.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/tabled.h"
#include "tests/support/module.h"

namespace tarnbase::fuzz {

namespace {

struct FreeDocument {
    void operator()(kel_xml_document *document) const { kel_xml_free(document); }
};
using Document = std::unique_ptr<kel_xml_document, FreeDocument>;

Document parse(const char *text, std::size_t length) {
    return Document(kel_xml_parse(text, length));
}

// The message of a failure: no byte beyond the length is written.
struct Message {
    explicit Message(u8 portion) : buffer(portion) {}
    Buffer buffer;
};

// For an array, each element that contains elements costs a search.
bool has_array(const Structure &type) {
    for (const Field &field : object::fields_of(type)) {
        if (field.kind == FieldKind::array) return true;
    }
    return false;
}

// Reading its own XML yields an equal object.
void check_round_trip(const Structure &type, const Round &round, const void *object, u8 portion) {
    const std::string text = xml_of(type, round, object, portion);
    if (text.empty() || !has_enumerators_only(type, object) || has_array(type)) return;
    const Document document = parse(text.data(), text.size());
    require(document != nullptr, "an object's XML is well-formed");
    void *copy = object::create(type, round.call());
    u32 err = 0;
    const std::string path = std::string("/") + type.name;
    object::from_xml(type, round.call(err), {document.get(), path.c_str(), nullptr, 0}, copy);
    require(err == 0, "an object's XML can be read back");
    require_equal(type, object, copy);
    object::destroy(type, round.call(), copy);
}

void read_structure(const Structure &type, const Conditions &conditions, kel_xml_document *document,
                    u8 portion) {
    const Round round(conditions);
    Random random(3);
    void *object =
        conditions.used ? make_object(type, round, random) : object::create(type, round.call());
    Message message(portion);
    u32 err = 0;
    const std::string path = std::string("//") + type.name;
    object::from_xml(type, round.call(err),
                     {document, path.c_str(), message.buffer.text(), message.buffer.size()},
                     object);
    check_round_trip(type, round, object, portion);
    exercise(type, round, object, portion);
    object::destroy(type, round.call(), object);
}

void read_enumeration(const Enumeration &type, const Conditions &conditions,
                      kel_xml_document *document, u8 portion) {
    const Round round(conditions);
    auto *object = enumeration::create(type, round.call());
    Message message(portion);
    u32 err = 0;
    const std::string path = std::string("//") + type.name;
    enumeration::from_xml(type, round.call(err),
                          {document, path.c_str(), message.buffer.text(), message.buffer.size()},
                          object);
    require(err == 0, "an enumeration is read, or keeps its value");
    exercise(type, round, object, portion);
    enumeration::destroy(type, round.call(), object);
}

// A document that is refused leaves a record that nobody can release: hence the
// transaction, which is rolled back.
void read_record(const Table &model, Conditions conditions, kel_xml_document *document,
                 u8 portion) {
    conditions.memory = Memory::transaction;
    const Round round(conditions);
    Message message(portion);
    u32 err = 0;
    kel_record *record = table::record_from_xml(
        model, round.call(err), {document, nullptr, message.buffer.text(), message.buffer.size()});
    require((record != nullptr) == (err == 0), "a record is read, or an error reported");
    if (is_whole(model, record)) {
        use_forms(model, round, record, portion);
        if (insert(model, round, record)) find(model, round, record);
        walk(model, round);
    }
    destroy(model, round, record);
}

void refuse_output(void *, const char *, ...) { require(false, "no message is printed"); }

u32 count_element(kel_xml_document *, void *context) { return ++*static_cast<u32 *>(context) > 20; }

}  // namespace

void fuzz_xml(Bytes bytes) {
    xmlSetGenericErrorFunc(nullptr, refuse_output);
    Input input(bytes);
    const u8 item = input.byte();
    const Conditions conditions(input.byte());
    const u8 portion = input.byte();
    Buffer text = input.rest();
    const Document document = parse(text.text(), text.size());
    if (document == nullptr) return;

    const auto structures = static_cast<u32>(all_structures().size());
    const auto enumerations = static_cast<u32>(all_enumerations().size());
    const u32 choice = item % (structures + enumerations + module.table_count);
    if (choice < structures) {
        read_structure(*all_structures()[choice], conditions, document.get(), portion);
    } else if (choice < structures + enumerations) {
        read_enumeration(*all_enumerations()[choice - structures], conditions, document.get(),
                         portion);
    } else {
        read_record(*all_tables()[choice - structures - enumerations], conditions, document.get(),
                    portion);
    }
    u32 elements = 0;
    u32 status = 0;
    require(kel_xml_for_each(document.get(), "//*", count_element, &elements, &status) == 0,
            "a document has elements");
}

}  // namespace tarnbase::fuzz

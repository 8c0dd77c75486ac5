/* SPDX-License-Identifier: Apache-2.0 */
// What an operation runs on: a store and a handle in one of the modes, a table or a
// structure, and what the operation's preparation adds.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_ENVIRONMENT_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_ENVIRONMENT_H

#include <memory>
#include <string>
#include <vector>

#include "tests/behaviour/fault/kind.h"
#include "tests/behaviour/table/subject.h"
#include "tests/support/fixture.h"
#include "tests/support/services.h"

namespace tarn::test {

// A table with its objects, or a structure alone.
struct Target {
    const Subject *subject;
    const Kind *object;
    const Kind *key_object;

    const char *name() const { return subject != nullptr ? subject->name : object->name; }
};

// What an operation uses and makes, restored after a rollback.
struct State {
    u32 tx = KEL_TX_NONE;
    u32 err = 0;
    std::string result;

    kel_table *table = nullptr;
    kel_record *record = nullptr;
    kel_record *loose = nullptr;
    void *object = nullptr;
    void *source = nullptr;
    void *key_holder = nullptr;
    kel_xml_document *document = nullptr;
    u32 length = 0;

    // Made by the operation.
    kel_table *made_table = nullptr;
    kel_record *made_record = nullptr;
    void *made_object = nullptr;
};

class Environment : public State {
 public:
    // `shared`: in the store of all such environments, since a process can open tables by id in one
    // store only.
    Environment(const Target &target, Mode mode, bool shared);
    ~Environment();
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

    const Subject &s() const { return *target.subject; }
    const Kind &k() const { return *target.object; }

    // Preparations.
    void open();  // `table`
    // A record with its objects, outside.
    kel_record *make(u32 key, u32 src = KEL_SOURCE_DEFAULT);
    void insert();                 // `record`, key 1, in the table
    void key(u32 number);          // `key_value`, `key_holder`
    void *make_object(u32 set);    // an object with one of two sets of values
    void parse(std::string text);  // `document`

    // What run() returned, for the outcome.
    void returned(const void *pointer) { result = pointer == nullptr ? "null" : "made"; }
    void returned_record(const kel_record *found) { result = found == nullptr ? "null" : "found"; }
    // Of a form: nothing, all of it, or a part.
    void returned_length(u32 length, u32 all);

    // Everything that can be observed of it.
    Observations observe();
    // Releases all that was prepared and made.
    void clean();

    const Target target;
    const Mode mode;
    const std::unique_ptr<Session> own;  // null: the shared one
    kel_store *const store;
    kel_handle *const handle;
    KeyValue key_value;
    std::vector<char> buffer = std::vector<char>(1 << 18, ' ');

 private:
    void observe_record(const char *name, kel_record *record, Observations &observed);
    void observe_object(const char *name, const void *object, Observations &observed);
    void destroy(kel_record *&record);
    void destroy(const Kind *kind, void *&object);
};

}  // namespace tarn::test

#endif

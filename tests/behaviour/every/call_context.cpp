// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/every/call_context.h"

#include <dlfcn.h>

#include <algorithm>
#include <stdexcept>

namespace tarn::test {

namespace {

const Table *find_table(const std::string &name) {
    for (const Table *each : all_tables()) {
        if (each->name == name) return each;
    }
    return nullptr;
}

const Structure *find_structure(const std::string &name) {
    for (const Structure *each : all_structures()) {
        if (each->name == name) return each;
    }
    return nullptr;
}

const Enumeration *find_enumeration(const std::string &name) {
    for (const Enumeration *each : all_enumerations()) {
        if (each->name == name) return each;
    }
    return nullptr;
}

const kel_type_info *descriptor_of(const std::string &type) {
    if (const Structure *structure = find_structure(type)) return structure->descriptor;
    return find_enumeration(type)->descriptor;
}

u32 continue_walk(kel_record *, void *) { return 0; }

bool is_one_of(const std::string &word, std::initializer_list<const char *> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

constexpr u32 text_space = 8000;

// The base of the last store. The next one is made there too: the buckets of a store's maps, and
// so the bytes that are announced, depend on the addresses of its blocks.
void *last_base = nullptr;

}  // namespace

CallContext::CallContext(const std::string &item, Mode mode)
    : session(mode, last_base), item_(item) {
    last_base = session.describe().base;
    document_ = parse("<x/>");
    kel_vstring_refer(&string_, "text", 4);
    scratch_.fill(' ');
    if (const Table *type = find_table(item)) open(*type);
}

CallContext::~CallContext() {
    // The root of tables by id is shared by the whole process.
    if (const Table *type = find_table(item_)) *type->root_cache = nullptr;
}

void CallContext::open(const Table &type) {
    *type.root_cache = nullptr;
    const std::string prefix = std::string(type.name) + "_";
    const u32 tx = KEL_TX_NONE;
    table = call<kel_table *>(prefix + "table_open", {handle, tx, "t", 0, &err});
    record = call<kel_record *>(prefix + "create_record", {handle, tx, &err});
    for (const Structure *each : {type.type, type.key_type}) {
        if (each == nullptr) continue;
        const Typed typed(*each, handle);
        void *made = typed.create();
        typed.fill(made, 1);
        call(prefix + each->name + "_set_field", {handle, tx, record, made});
    }
    call(prefix + "insert", {handle, tx, table, record, &err});
    if (err != 0) throw std::runtime_error("no record for " + item_);
}

void *CallContext::object(const std::string &type, const std::string &role) {
    void *&made = objects_[type + " " + role];
    if (made != nullptr) return made;
    if (const Structure *structure = find_structure(type)) {
        const Typed typed(*structure, handle);
        made = typed.create();
        typed.fill(made, 1);
    } else if (find_enumeration(type) != nullptr) {
        made = call<void *>(type + "_create", {handle, KEL_TX_NONE});
    } else {
        throw std::runtime_error("can't make an argument of type " + type);
    }
    return made;
}

u64 CallContext::number(const Parameter &parameter) {
    if (is_one_of(parameter.name, {"buffer_len", "remaining", "workspace_len"})) return text_space;
    if (parameter.name == "length") return parameter.type == "int32_t" ? 8 : text_space;
    if (parameter.name == "message_len") return 64;
    if (is_one_of(parameter.name, {"id", "ior"})) return 7;
    return is_one_of(parameter.name, {"value", "src", "log_writes"}) ? 1 : 0;
}

Word CallContext::pointer(const Prototype &function, const Parameter &parameter) {
    const std::string type = parameter.pointee();
    const std::string &name = parameter.name;
    if (type.back() == '*') return &slots_[2];
    if (name == "err") return &err;
    if (type == "kel_handle") return handle;
    if (type == "kel_table" || name == "table") return table;
    if (type == "kel_record" || name == "record" || name == "item") return record;
    if (name == "name" || name == "path") return "//x";
    if (name == "document") return document_.get();
    if (name == "message") return scratch_.data() + text_space;
    if (is_one_of(name, {"buffer", "workspace"})) return scratch_.data();
    if (type == "kel_type_info") return descriptor_of(item_);
    if (type == "kel_vstring") return &string_;
    if (is_one_of(name, {"sttr_base", "context", "arg1", "arg2"})) return nullptr;
    if (find_structure(type) != nullptr || find_enumeration(type) != nullptr) {
        return object(type, name);
    }
    // A number, a truth value or an address, to be read or to be filled in.
    std::size_t place = 0;
    while (function.parameters[place].name != name) ++place;
    return &words_[place * 8];
}

Word CallContext::argument(const Prototype &function, const Parameter &parameter) {
    if (parameter.type == "kel_walk_function")
        return reinterpret_cast<const void *>(&continue_walk);
    if (parameter.is_pointer()) return pointer(function, parameter);
    return parameter.name == "tx_id" ? u64{KEL_TX_NONE} : number(parameter);
}

std::vector<Word> CallContext::arguments(const Prototype &function) {
    slots_ = {};
    std::vector<Word> words;
    for (const Parameter &each : function.parameters) words.push_back(argument(function, each));
    return words;
}

u64 CallContext::invoke(const Prototype &function, const std::vector<Word> &arguments) {
    void *address = dlsym(RTLD_DEFAULT, function.name.c_str());
    if (address == nullptr) throw std::runtime_error("nothing is exported as " + function.name);
    return call_address(address, arguments);
}

void CallContext::expect_transaction(const Prototype &function, const HookRecorder &hooks, u32 tx) {
    const bool opens = function.result == "kel_table *";
    const bool names = opens || function.ends_with("_table_free");
    for (const HookEvent &event : hooks.events) {
        if (names && event.hook == Hook::write_log) continue;
        EXPECT_EQ(event.tx_id, opens ? KEL_TX_NONE : tx);
    }
}

u64 CallContext::place(u64 word) const {
    const auto base = reinterpret_cast<std::uintptr_t>(session.describe().base);
    return word >= base && word < base + session.describe().size ? word - base : word;
}

// Registers hold more than a narrow result.
u64 CallContext::result(const Prototype &function, u64 word) const {
    if (function.result == "void") return 0;
    if (function.returns_pointer()) return place(word);
    const bool narrow = function.result == "uint8_t" || function.result == "int8_t";
    if (narrow) return static_cast<u8>(word);
    if (function.result == "uint16_t") return static_cast<u16>(word);
    return function.result == "uint64_t" || function.result == "int64_t" ? word
                                                                         : static_cast<u32>(word);
}

std::string operation_of(const std::string &item, const Prototype &function) {
    const std::string prefix = item + "_";
    if (function.name.compare(0, prefix.size(), prefix) != 0) return function.name;
    return function.name.substr(prefix.size());
}

Outcome outcome_of(const std::string &item, const Prototype &function, const Situation &situation) {
    CallContext context(item, Mode::plain);
    if (situation.tracking_off)
        kel_handle_set_state_tracking(context.handle, KEL_STATE_TRACKING_OFF);
    std::vector<Word> arguments = context.arguments(function);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &name = function.parameters[i].name;
        if (name == situation.null_parameter) arguments[i] = nullptr;
        if (name == situation.small_parameter) arguments[i] = 1;
    }
    TraceCapture lines;
    HookRecorder hooks(context.handle);
    hooks.fail_allocations(situation.without_memory);
    context.err = situation.error_on_entry;
    context.handle->last_error = 77;
    Outcome outcome;
    outcome.result = context.result(function, CallContext::invoke(function, arguments));
    outcome.err = context.err;
    outcome.last_error = context.handle->last_error;
    for (const HookEvent &event : hooks.events) {
        const auto address = reinterpret_cast<std::uintptr_t>(event.address);
        outcome.hooks.push_back({static_cast<u64>(event.hook), context.place(address), event.length,
                                 static_cast<u32>(event.delta), event.tx_id});
    }
    for (const TraceLine &line : lines.lines) {
        outcome.traces.push_back(std::to_string(line.level) + line.text);
    }
    outcome.written.assign(context.scratch().begin(), context.scratch().end());
    return outcome;
}

std::ostream &operator<<(std::ostream &out, const Outcome &outcome) {
    out << "result " << outcome.result << ", err " << outcome.err << ", last_error "
        << outcome.last_error << ", " << outcome.hooks.size() << " hook calls";
    for (const auto &hook : outcome.hooks) {
        out << std::hex;
        for (const u64 word : hook) out << (&word == &hook.front() ? " (" : " ") << word;
        out << std::dec << ")";
    }
    for (const std::string &line : outcome.traces) out << ", " << line;
    out << ", written " << std::hex;
    for (const char byte : outcome.written) out << +static_cast<u8>(byte) << ' ';
    return out << std::dec;
}

}  // namespace tarn::test

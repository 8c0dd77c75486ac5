// SPDX-License-Identifier: Apache-2.0
// A run: phases in which the tables grow, stay and shrink, with one operation per step.
#include "tests/behaviour/random/driver.h"

namespace tarn::test {

namespace {

// Far apart, to detect an order by signed numbers.
constexpr u16 tenants[] = {0, 7, 40000};

// Steps between two comparisons of everything.
constexpr u32 whole_interval = 250;

// By phase: growing, steady, shrinking.
constexpr u32 phase_lengths[] = {500, 1200, 900};

std::string describe(const Run &run) {
    std::ostringstream text;
    text << "key kind " << run.kind->name << (run.transactions ? " with transactions" : "")
         << ", handle " << mode_name(run.mode) << ", seed " << run.seed
         << "\nto repeat it, run the same test with TARNBASE_RANDOM_SEED=" << run.seed
         << " TARNBASE_RANDOM_STEPS=<the failing step + 1>";
    return text.str();
}

// Handles of one store may differ in their descriptors, but not in state tracking.
Mode companion_of(Mode mode) { return mode == Mode::store_types ? Mode::plain : mode; }

}  // namespace

const Driver::Operation Driver::operations[] = {
    // in the phases growing, steady, shrinking
    {"insert a new record", &Driver::insert_new, {34, 14, 3}},
    {"insert again", &Driver::insert_again, {10, 10, 1}},
    {"insert twice", &Driver::insert_twice, {1, 1, 1}},
    {"insert and ask for changes", &Driver::insert_unmodified, {1, 1, 0}},
    {"remove", &Driver::remove_one, {4, 8, 20}},
    {"remove what isn't there", &Driver::remove_absent, {1, 1, 1}},
    {"destroy", &Driver::destroy_one, {3, 8, 20}},
    {"add a reference", &Driver::add_ref, {2, 2, 1}},
    {"request destruction", &Driver::request_destroy, {4, 4, 4}},
    {"mark or unmark for replication", &Driver::mark_for_replication, {1, 1, 1}},
    {"set a value", &Driver::set_value, {4, 4, 2}},
    {"set a text", &Driver::set_text, {4, 4, 2}},
    {"change a key", &Driver::change_key, {2, 2, 2}},
    {"replace an object", &Driver::replace_object, {2, 2, 2}},
    {"copy by the wire", &Driver::copy_by_wire, {3, 2, 1}},
    {"read over", &Driver::read_over, {2, 2, 1}},
    {"send a key", &Driver::send_key, {1, 1, 1}},
    {"enter with an error", &Driver::enter_with_error, {1, 1, 1}},
    {"search", &Driver::search, {12, 16, 10}},
    {"search by object", &Driver::search_by_object, {5, 6, 4}},
    {"step by key", &Driver::step_by_key, {7, 8, 6}},
    {"take an end", &Driver::take_end, {4, 5, 5}},
    {"step", &Driver::take_step, {14, 16, 14}},
    {"step to a neighbour", &Driver::take_neighbour, {6, 6, 6}},
    {"read a range", &Driver::read_range, {1, 1, 1}},
    {"walk a part", &Driver::walk_a_part, {1, 1, 1}},
    {"walk and remove", &Driver::walk_and_remove, {0, 0, 1}},
    {"count", &Driver::count, {4, 4, 4}},
    {"look at a record", &Driver::look_at_one, {4, 4, 4}},
};

Driver::Driver(World &world, const Run &run)
    : world_(world),
      run_(run),
      s(*run.kind->subject),
      random_(run.seed),
      history_(describe(run)),
      handles_{make_handle(world.session.store(), run.mode),
               make_handle(world.session.store(), companion_of(run.mode))},
      handle_(handles_[0]),
      usage_before_(s.entry.record_descriptor->variant_info->variants[0]) {
    for (u32 number = 0; number < run.kind->keys; ++number) {
        keys_.push_back(std::make_unique<Key>(s, handle_, number));
    }
    for (u32 table = 0; table < table_count; ++table) open(table);
}

Driver::~Driver() {
    kel_thread_set_tenant(0);
    keys_.clear();
    for (kel_handle *handle : handles_) kel_handle_destroy(handle);
}

void Driver::go() {
    for (step_ = 0; step_ < run_.steps && !failed_; ++step_) step();
    if (tx_ != KEL_TX_NONE && !failed_) commit();
    if (!failed_) check_whole();
    if (!failed_) release_everything();
}

void Driver::step() {
    handle_ = handles_[random_.below(2)];
    kel_clear_last_error(handle_);
    err_ = 0;
    choose_any_tenant();
    if (run_.transactions) begin_or_end();
    if (step_ >= phase_end_ && tx_ == KEL_TX_NONE) next_phase();
    const Operation &operation = draw();
    history_.begin(step_, operation.name);
    (this->*operation.run)();
    if (step_ % whole_interval == whole_interval - 1 && !failed_) check_whole();
}

// Empties and frees a table that has shrunk, and opens it again, perhaps in another way.
void Driver::next_phase() {
    if (phase_ == shrinking && step_ != 0) {
        for (u32 table = 0; table < table_count && !failed_; ++table) reopen(table);
    }
    phase_ = static_cast<Phase>((phase_ + 1) % 3);
    phase_end_ = step_ + phase_lengths[phase_] / 2 + random_.below(phase_lengths[phase_]);
}

const Driver::Operation &Driver::draw() {
    static const auto drawings = [] {
        std::array<std::vector<const Operation *>, 3> made;
        for (const Operation &operation : operations) {
            for (u32 phase = 0; phase < 3; ++phase) {
                made[phase].insert(made[phase].end(), operation.tickets[phase], &operation);
            }
        }
        return made;
    }();
    const auto &tickets = drawings[phase_];
    return *tickets[random_.below(static_cast<u32>(tickets.size()))];
}

void Driver::release_everything() {
    history_.begin(step_, "release everything");
    for (u32 row = 0; row < model_.rows.size() && !failed_; ++row) {
        while (model_.rows[row].record != nullptr && !failed_) {
            if (model_.rows[row].table != outside) remove(row);
            if (model_.rows[row].table == outside) destroy(row);
        }
    }
    for (u32 table = 0; table < table_count && !failed_; ++table) free(table);
    check_usage();
}

void Driver::choose_tenant(u16 tenant) {
    tenant_ = tenant;
    kel_thread_set_tenant(tenant);
}

void Driver::choose_any_tenant() { choose_tenant(random_.of(tenants)); }

// A handle with per-store descriptors, or one without.
void Driver::choose_handle_of(bool store_types) {
    for (kel_handle *handle : handles_) {
        if ((handle->store_types_enabled != 0) == store_types) handle_ = handle;
    }
}

void Driver::fail(const std::string &what) {
    if (failed_) return;
    failed_ = true;
    ADD_FAILURE() << what << "\nat step " << step_ << " of " << history_.text();
}

void Driver::expect_error(u32 expected) {
    same(err_, expected, "the error");
    same(handle_->last_error, expected, "the handle's last error");
    err_ = 0;
    if (expected != 0) kel_clear_last_error(handle_);
}

u32 Driver::take_cr_error() {
    const u32 error = handle_->last_error;
    kel_clear_last_error(handle_);
    return error;
}

}  // namespace tarn::test

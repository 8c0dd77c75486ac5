// SPDX-License-Identifier: Apache-2.0
//
// Moves a record between stores, in C++: written as XML and as a wire frame, read back into a
// second store, and compared as text.
#include <cstdlib>
#include <iostream>

#include "tarnbase/tarn/tables/service_type_info.hpp"

using Services = tarn::table<tarn::service_type_info>;

static bool run() {
    const tarn::store here = tarn::store::create_private();
    tarn::session session(here);
    auto services = Services::open_or_create(session, "services");
    auto made = services.make({2, "framed <ppp>"});
    made.set_enabled(true);
    made.set_flags(6);
    const auto record = services.insert(std::move(made));

    const std::string xml = record.to_xml();
    const tarn::bytes wire = record.to_wire();
    std::cout << xml << wire.size() << " bytes on the wire\n";

    const tarn::store there = tarn::store::create_private();
    tarn::session other(there);
    auto from_xml = Services::open_or_create(other, "from xml");
    auto from_wire = Services::open_or_create(other, "from wire");
    {
        tarn::transaction transaction(other);
        from_xml.insert(from_xml.from_xml(tarn::xml_document::parse(xml)));
        from_wire.insert(from_wire.from_wire(wire));
        transaction.commit();
    }

    const auto found = from_xml.find({2, "framed <ppp>"}).value();
    std::cout << found.to_text();
    const bool same =
        found.to_text() == record.to_text() && from_wire.begin()->to_text() == record.to_text();
    std::cout << (same ? "the same record three times\n" : "the records differ\n");
    return same;
}

int main() {
    try {
        return run() ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception &error) {
        std::cerr << "exchange: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}

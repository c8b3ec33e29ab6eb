// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the XML reader of the import (store/xml_element_reader.h), which
// reads a phone's "SMS Backup & Restore" file.
//
// Input: the bytes of an XML file. Beyond "no crash": start and end tags pair up with their
// depths (an end names the element its start opened), the document ends only with every
// element closed, no attribute is given twice and Attribute() finds each, a failure says where
// and stays, and the reader always comes to an end.
#include <cstdint>
#include <string>
#include <vector>

#include "import_fuzz_input.h"
#include "store/import_input.h"
#include "store/xml_element_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536) return 0;
    FuzzInputFile file(data, size);
    if (file.Get() == nullptr) return 0;
    ImportInput input(file.Get());
    XmlElementReader reader(input);
    std::vector<std::string> open;
    bool rootSeen = false;
    // Every event takes at least one byte, but for the end of an empty element.
    const std::size_t maxEvents = 2 * size + 2;
    for (std::size_t events = 0;; ++events) {
        Check(events <= maxEvents);
        const XmlElementReader::Event event = reader.Next();
        if (event == XmlElementReader::Event::kStart) {
            Check(!reader.Name().empty());
            open.push_back(reader.Name());
            rootSeen = true;
            Check(reader.Depth() == open.size());
            const auto& attributes = reader.Attributes();
            for (std::size_t i = 0; i < attributes.size(); ++i) {
                for (std::size_t j = 0; j < i; ++j) Check(attributes[i].name != attributes[j].name);
                const std::u16string* value = reader.Attribute(attributes[i].name);
                Check(value != nullptr && *value == attributes[i].value);
            }
        } else if (event == XmlElementReader::Event::kEnd) {
            Check(!open.empty() && reader.Name() == open.back());
            Check(reader.Depth() == open.size());
            open.pop_back();
        } else if (event == XmlElementReader::Event::kEndOfDocument) {
            Check(rootSeen && open.empty());
            break;
        } else {
            Check(!reader.Error().empty());
            const std::string error = reader.Error();
            Check(reader.Next() == XmlElementReader::Event::kError && reader.Error() == error);
            break;
        }
    }
    return 0;
}

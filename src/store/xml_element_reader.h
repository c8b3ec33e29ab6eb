// SPDX-License-Identifier: GPL-3.0-or-later
// The elements of an XML file one at a time, with their attributes, as the SMS backup files of
// Android's backup apps need to be read: streamed (memory does not grow with the file), UTF-8
// only, and with their character references to single UTF-16 surrogates (an emoji written
// as "&#55357;&#56832;") and to control characters taken as the code units they name, which a
// strict XML parser refuses. Everything else must be well-formed: tags that close in order,
// quoted attributes given once each, known entities; a document type declaration is refused
// (no entity of a file's own is ever expanded). Text between elements is checked and passed
// over; comments, processing instructions and CDATA sections are passed over.
//
// An error names the line and column where it was found.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "store/import_input.h"

struct XmlAttribute {
    std::string name;
    std::u16string value;  // references resolved; line breaks and tabs written as such are blanks
};

class XmlElementReader {
  public:
    explicit XmlElementReader(ImportInput& in) : in_(in) {}

    enum class Event {
        kStart,          // a start tag (or an empty element, whose kEnd follows at once)
        kEnd,            // an end tag
        kEndOfDocument,  // the root element closed and nothing but comments or blanks followed
        kError,          // Error() says what and where; every later call gives kError again
    };
    Event Next();

    // Of the element of the last kStart or kEnd.
    const std::string& Name() const { return name_; }
    // 1 for the root element.
    std::size_t Depth() const { return depth_; }
    // Where its tag began.
    std::uint64_t Line() const { return line_; }
    std::uint64_t Column() const { return column_; }
    // Of the last kStart.
    const std::vector<XmlAttribute>& Attributes() const { return attributes_; }
    // The value of an attribute of the last kStart, or null.
    const std::u16string* Attribute(std::string_view name) const;

    // "line L, column C: what".
    const std::string& Error() const { return error_; }

  private:
    Event Fail(const std::string& what);
    Event FailAt(std::uint64_t line, std::uint64_t column, const std::string& what);
    bool Expect(std::string_view text);
    bool SkipUntil(std::string_view end);
    bool ReadName(std::string* name);
    void SkipBlanks();
    // A reference after its "&": appended to `out` as code units.
    bool ReadReference(std::u16string* out);
    Event ReadStartTag();
    Event ReadEndTag();
    bool SkipMarkup();       // after "<!"; false: failed
    bool ReadDeclaration();  // after "<?"

    ImportInput& in_;
    std::vector<std::string> open_;  // the names of the open elements
    std::vector<std::uint64_t> openLines_;
    bool rootSeen_ = false;
    bool rootClosed_ = false;
    bool pendingEnd_ = false;  // an empty element's end is due
    bool started_ = false;     // anything read yet (for the byte order mark and declaration)
    bool failed_ = false;

    std::string name_;
    std::size_t depth_ = 0;
    std::uint64_t line_ = 0;
    std::uint64_t column_ = 0;
    std::vector<XmlAttribute> attributes_;
    std::string error_;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/contact_names.h"

#include <limits>

#include "message_ui/contact_directory.h"
#include "message_ui/vcard_reader.h"

namespace {

constexpr std::size_t kTailDigits = 9;
constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

struct NumberKey {
    bool international = false;
    std::string digits;

    std::string Tail() const {
        return digits.size() <= kTailDigits ? digits : digits.substr(digits.size() - kTailDigits);
    }
};

// The digits of a number, and whether it is written in international form: a "+" before the
// first digit.
NumberKey KeyOf(std::u16string_view number) {
    NumberKey key;
    for (char16_t c : number) {
        if (c >= u'0' && c <= u'9') {
            key.digits.push_back(static_cast<char>(c));
        } else if (c == u'+' && key.digits.empty()) {
            key.international = true;
        }
    }
    return key;
}

}  // namespace

bool NumbersMatch(std::u16string_view a, std::u16string_view b) {
    const NumberKey ka = KeyOf(a);
    const NumberKey kb = KeyOf(b);
    if (ka.digits.empty() || kb.digits.empty()) return false;
    if (ka.international && kb.international) return ka.digits == kb.digits;
    return ka.Tail() == kb.Tail();
}

void ContactNameIndex::Clear() {
    names_.clear();
    international_.clear();
    nationalTails_.clear();
    everyTail_.clear();
}

void ContactNameIndex::Keep(Map& map, const std::string& key, std::uint32_t contact) {
    // The first contact with a key keeps it.
    map.emplace(key, contact);
}

std::uint32_t ContactNameIndex::Lookup(const Map& map, const std::string& key) {
    const auto it = map.find(key);
    return it == map.end() ? kNone : it->second;
}

void ContactNameIndex::Add(const std::u16string& name, const std::vector<std::u16string>& numbers) {
    if (name.empty()) return;
    const auto contact = static_cast<std::uint32_t>(names_.size());
    bool any = false;
    for (const std::u16string& number : numbers) {
        const NumberKey key = KeyOf(number);
        if (key.digits.empty()) continue;
        any = true;
        if (key.international) {
            Keep(international_, key.digits, contact);
        } else {
            Keep(nationalTails_, key.Tail(), contact);
        }
        Keep(everyTail_, key.Tail(), contact);
    }
    if (any) names_.push_back(name);
}

void ContactNameIndex::AddAll(const ContactDirectory& directory) {
    VCardContact contact;
    for (std::size_t i = 0; i < directory.Count(); ++i) {
        if (!directory.Fetch(i, &contact)) continue;
        Add(contact.name, {contact.mobile, contact.home, contact.work});
    }
}

const std::u16string* ContactNameIndex::Find(std::u16string_view number) const {
    const NumberKey key = KeyOf(number);
    if (key.digits.empty()) return nullptr;
    std::uint32_t found;
    if (key.international) {
        // An international contact number must agree in every digit; one written without "+"
        // by its last nine.
        const std::uint32_t whole = Lookup(international_, key.digits);
        const std::uint32_t tail = Lookup(nationalTails_, key.Tail());
        found = whole < tail ? whole : tail;
    } else {
        found = Lookup(everyTail_, key.Tail());
    }
    return found == kNone ? nullptr : &names_[found];
}

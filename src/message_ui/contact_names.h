// SPDX-License-Identifier: GPL-3.0-or-later
// Names for known numbers: a message that carries a number but no name is shown with the name
// of the contact whose mobile, home or work number is the same.
//
// Two numbers are the same when, in international form (a leading "+") on both sides, their
// digits are equal; otherwise when their last nine digits are equal (all of them for a shorter
// number), so that "0171 2345678" finds "+49 171 2345678". Blanks, brackets and dashes do not
// count; a number without digits matches nothing. The first contact that matches wins, in the
// order of the contacts folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class ContactDirectory;

// Whether `a` and `b` are the same number by the rule above.
bool NumbersMatch(std::u16string_view a, std::u16string_view b);

// The contacts' numbers, indexed so that a look-up costs a few hash probes whatever the number
// of contacts.
class ContactNameIndex {
  public:
    void Clear();
    // Adds a contact after those added before (a later one loses to an earlier one); its empty
    // numbers and an empty name are ignored.
    void Add(const std::u16string& name, const std::vector<std::u16string>& numbers);
    // Every contact of `directory` (loaded with ContactDirectory::Cards::kAnyPhone), in order.
    void AddAll(const ContactDirectory& directory);

    std::size_t Count() const { return names_.size(); }
    // The name of the first contact whose number matches `number`; null when none does.
    const std::u16string* Find(std::u16string_view number) const;

  private:
    using Map = std::unordered_map<std::string, std::uint32_t>;
    static void Keep(Map& map, const std::string& key, std::uint32_t contact);
    static std::uint32_t Lookup(const Map& map, const std::string& key);

    std::vector<std::u16string> names_;
    Map international_;  // all digits of the international numbers
    Map nationalTails_;  // last nine digits of the numbers without "+"
    Map everyTail_;      // last nine digits of every number
};

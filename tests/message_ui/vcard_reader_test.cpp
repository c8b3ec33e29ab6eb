// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/vcard_reader.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/text_convert.h"
#include "message_ui/contact_directory.h"

namespace fs = std::filesystem;

namespace {

std::string U8(const std::u16string& s) {
    return Utf16ToUtf8(s);
}

// Reads a text that holds exactly one card.
VCardContact Read(const std::string& card, bool* ok = nullptr) {
    VCardContact c;
    const bool read = ReadVCard(card, &c);
    if (ok != nullptr) *ok = read;
    return c;
}

std::vector<VCardContact> IndexAndRead(const std::string& text) {
    std::vector<VCardSpan> spans;
    IndexMobileCards(text, &spans);
    std::vector<VCardContact> out;
    for (const VCardSpan& s : spans) {
        VCardContact c;
        EXPECT_TRUE(ReadVCard(std::string_view(text).substr(s.offset, s.length), &c));
        out.push_back(c);
    }
    return out;
}

std::string Card(const std::string& body, const std::string& version = "3.0") {
    return "BEGIN:VCARD\nVERSION:" + version + "\n" + body + "END:VCARD\n";
}

class TempDir {
  public:
    TempDir() {
        char pattern[] = "/tmp/velkan-vcard-XXXXXX";
        const char* made = mkdtemp(pattern);
        path_ = made != nullptr ? made : "";
    }
    ~TempDir() {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    const std::string& Path() const { return path_; }
    void Write(const std::string& name, const std::string& bytes) const {
        const fs::path p = fs::path(path_) / name;
        fs::create_directories(p.parent_path());
        std::ofstream out(p, std::ios::binary);
        out << bytes;
    }

  private:
    std::string path_;
};

}  // namespace

// --- Versions and their encodings ------------------------------------------------------------

TEST(VCardReader, Version21BareTypeAndQuotedPrintableWithSoftBreaksAndCharset) {
    const std::string card =
        "BEGIN:VCARD\r\nVERSION:2.1\r\n"
        "FN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:J=FCrgen M=FC=\r\nller=\r\n\r\n"
        "TEL;HOME:+49 30 1\r\nTEL;CELL;VOICE:+49 171 2345678\r\nEND:VCARD\r\n";
    bool ok = false;
    const VCardContact c = Read(card, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(U8(c.name), "Jürgen Müller");
    EXPECT_EQ(U8(c.mobile), "+49 171 2345678");
}

TEST(VCardReader, QuotedPrintableBareEncodingWordAndUtf8Charset) {
    const VCardContact c = Read(
        Card("N;CHARSET=UTF-8;QUOTED-PRINTABLE:=C5=81ukasiewicz;Zofia\nTEL;CELL:0601\n", "2.1"));
    EXPECT_EQ(U8(c.name), "Zofia Łukasiewicz");
}

TEST(VCardReader, QuotedPrintableKeepsWhatIsNoEscape) {
    const VCardContact c =
        Read(Card("FN;ENCODING=QUOTED-PRINTABLE:A=3DB =ZZ end=4\nTEL;CELL:1\n", "2.1"));
    EXPECT_EQ(U8(c.name), "A=B =ZZ end=4");
}

TEST(VCardReader, WithoutCharsetInvalidUtf8IsReadAsWindows1252) {
    const VCardContact a = Read(Card("FN:Caf\xE9 \x80\nTEL;CELL:1\n", "2.1"));
    EXPECT_EQ(U8(a.name), "Café €");
    const VCardContact b = Read(Card("FN:Caf\xC3\xA9\nTEL;CELL:1\n"));
    EXPECT_EQ(U8(b.name), "Café");
    const VCardContact c = Read(Card("FN;CHARSET=windows-1252:\x93Hi\x94\nTEL;CELL:1\n", "2.1"));
    EXPECT_EQ(U8(c.name), "“Hi”");
    const VCardContact d = Read(Card("FN;CHARSET=ISO-8859-1:\x80\xE9\nTEL;CELL:1\n", "2.1"));
    EXPECT_EQ(c.name.size(), 4u);
    EXPECT_EQ(d.name, (std::u16string{0x80, 0xE9}));
}

TEST(VCardReader, Version30FoldedLinesLoseOneBlank) {
    const VCardContact c =
        Read(Card("FN:Bj\n örk Gu\n\tðmundsdóttir\nTEL;TYPE=CELL:+354\r\n  555\n"));
    EXPECT_EQ(U8(c.name), "Björk Guðmundsdóttir");
    EXPECT_EQ(U8(c.mobile), "+354 555");
}

TEST(VCardReader, Version21FoldedLinesKeepTheBlank) {
    const VCardContact c =
        Read("BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Anna\r\n Maria\r\nTEL;CELL:1\r\nEND:VCARD\r\n");
    EXPECT_EQ(U8(c.name), "Anna Maria");
}

TEST(VCardReader, Version40QuotedTypesAndTelUris) {
    const VCardContact a = Read(
        Card("FN:Yuki\nTEL;VALUE=uri;TYPE=\"cell,voice\":tel:+81-90-1234-5678;ext=9\n", "4.0"));
    EXPECT_EQ(U8(a.mobile), "+81-90-1234-5678");
    const VCardContact b = Read(Card("FN:Priya\nTEL;TYPE=\"cell\";PREF=1:+91 98765\n", "4.0"));
    EXPECT_EQ(U8(b.mobile), "+91 98765");
    const VCardContact c = Read(Card("FN:Uri\nTEL;TYPE=cell:TEL:+1 555\n", "4.0"));
    EXPECT_EQ(U8(c.mobile), "+1 555");
}

// --- Parameters ------------------------------------------------------------------------------

TEST(VCardReader, EveryWayOfSayingMobileIsRecognised) {
    const char* lines[] = {
        "TEL;TYPE=CELL:555",           "TEL;TYPE=cell,voice:555", "TEL;CELL:555",
        "TEL;TYPE=\"cell\":555",       "TEL;type=Cell:555",       "TEL;TYPE=VOICE;TYPE=CELL:555",
        "item1.TEL;TYPE=CELL:555",     "tel;type=pref,CELL:555",  "TEL;PREF;CELL;VOICE:555",
        "TEL;TYPE=\"voice,cell\":555",
    };
    for (const char* line : lines) {
        bool ok = false;
        const VCardContact c = Read(Card(std::string("FN:X\n") + line + "\n"), &ok);
        EXPECT_TRUE(ok) << line;
        EXPECT_EQ(U8(c.mobile), "555") << line;
    }
}

TEST(VCardReader, OtherNumbersAreNotMobile) {
    const char* lines[] = {
        "TEL;TYPE=HOME:555", "TEL;TYPE=WORK,VOICE:555", "TEL:555",          "TEL;TYPE=CELLULAR:555",
        "TEL;TYPE=CELL:",    "TEL;TYPE=CELL:   ",       "TEL;X-CELL=1:555",
    };
    for (const char* line : lines) {
        bool ok = true;
        const VCardContact c = Read(Card(std::string("FN:X\n") + line + "\n"), &ok);
        EXPECT_FALSE(ok) << line;
        EXPECT_TRUE(c.name.empty() && c.mobile.empty()) << line;
    }
}

TEST(VCardReader, QuotedParameterValuesMayHoldSeparators) {
    const VCardContact c =
        Read(Card("FN;X-NOTE=\"a;b:c\":Quoted Name\nTEL;X-LABEL=\"x:y\";TYPE=CELL:1\n"));
    EXPECT_EQ(U8(c.name), "Quoted Name");
    EXPECT_EQ(U8(c.mobile), "1");
}

TEST(VCardReader, TheFirstMobileNumberIsTaken) {
    const VCardContact c = Read(Card("FN:X\nTEL;TYPE=CELL:111\nTEL;TYPE=CELL:222\n"));
    EXPECT_EQ(U8(c.mobile), "111");
}

// --- Values ----------------------------------------------------------------------------------

TEST(VCardReader, EscapedValues) {
    const VCardContact c = Read(Card("FN:Smith\\, John\\; Jr.\\nSales\\\\Dept \\x\nTEL;CELL:1\n"));
    EXPECT_EQ(U8(c.name), "Smith, John; Jr.\nSales\\Dept \\x");
}

TEST(VCardReader, NumberIsKeptAsStored) {
    const VCardContact c = Read(Card("FN:X\nTEL;TYPE=CELL: +44 (0) 77-12 \n"));
    EXPECT_EQ(U8(c.mobile), "+44 (0) 77-12");
}

TEST(VCardReader, NameComesFromFnThenNThenOrg) {
    EXPECT_EQ(U8(Read(Card("N:Smith;John;;;\nFN:Johnny\nTEL;CELL:1\n")).name), "Johnny");
    EXPECT_EQ(U8(Read(Card("N:Tanaka;Yuki;Q.;Dr.;PhD\nTEL;CELL:1\n")).name),
              "Dr. Yuki Q. Tanaka PhD");
    EXPECT_EQ(U8(Read(Card("FN:\nN:Doe;Jane\nTEL;CELL:1\n")).name), "Jane Doe");
    EXPECT_EQ(U8(Read(Card("N:Stevenson;John;Philip,Paul;Dr.;Jr.,M.D.\nTEL;CELL:1\n")).name),
              "Dr. John Philip Paul Stevenson Jr. M.D.");
    EXPECT_EQ(U8(Read(Card("N:O\\;Brien;Pat\nTEL;CELL:1\n")).name), "Pat O;Brien");
    EXPECT_EQ(U8(Read(Card("ORG:Velkan Garage;Workshop\nTEL;CELL:1\n")).name), "Velkan Garage");
    EXPECT_EQ(U8(Read(Card("TEL;CELL:1\n")).name), "");
}

// --- Cards -----------------------------------------------------------------------------------

TEST(VCardReader, SeveralCardsPerTextOnlyThoseWithMobileNumbers) {
    const std::string text = Card("FN:One\nTEL;TYPE=CELL:1\n") + Card("FN:Home\nTEL;HOME:2\n") +
                             "\n\n" + Card("FN:Three\nTEL;TYPE=CELL:3\n", "2.1");
    const std::vector<VCardContact> cards = IndexAndRead(text);
    ASSERT_EQ(cards.size(), 2u);
    EXPECT_EQ(U8(cards[0].name), "One");
    EXPECT_EQ(U8(cards[1].name), "Three");
    EXPECT_EQ(U8(cards[1].mobile), "3");
}

TEST(VCardReader, SpansCoverExactlyTheirCards) {
    const std::string first = Card("FN:One\nTEL;TYPE=CELL:1\n");
    const std::string text = "junk before\n" + first + "junk after\n";
    std::vector<VCardSpan> spans;
    IndexMobileCards(text, &spans);
    ASSERT_EQ(spans.size(), 1u);
    EXPECT_EQ(text.substr(spans[0].offset, spans[0].length), first);
}

TEST(VCardReader, ACardThatNeverEndsIsSkipped) {
    EXPECT_TRUE(IndexAndRead("BEGIN:VCARD\nFN:Open\nTEL;CELL:1\n").empty());
    // A new card inside an unfinished one starts over; the unfinished one is lost.
    const std::vector<VCardContact> cards = IndexAndRead(
        "BEGIN:VCARD\nFN:Open\nTEL;CELL:1\nBEGIN:VCARD\nFN:Next\nTEL;CELL:2\nEND:VCARD\n");
    ASSERT_EQ(cards.size(), 1u);
    EXPECT_EQ(U8(cards[0].name), "Next");
    bool ok = true;
    Read("BEGIN:VCARD\nFN:Open\nTEL;CELL:1\n", &ok);
    EXPECT_FALSE(ok);
}

TEST(VCardReader, MalformedLinesAndStrayEndsAreIgnored) {
    const std::vector<VCardContact> cards = IndexAndRead(
        "END:VCARD\nno colon at all\n:\n;;;:\nBEGIN:VCARD\nthis line has no colon\n"
        "FN:Fine\n;TYPE=CELL:9\nTEL;TYPE=CELL:1\nEND:VCARD\nEND:VCARD\n");
    ASSERT_EQ(cards.size(), 1u);
    EXPECT_EQ(U8(cards[0].name), "Fine");
    EXPECT_EQ(U8(cards[0].mobile), "1");
}

TEST(VCardReader, AnAgentsEmbeddedCardBelongsToTheCardAroundIt) {
    const std::string text =
        "BEGIN:VCARD\r\nVERSION:2.1\r\nFN:Boss\r\nAGENT:\r\nBEGIN:VCARD\r\nVERSION:2.1\r\n"
        "FN:Agent\r\nTEL;CELL:+1 555 0199\r\nEND:VCARD\r\nTEL;CELL:+1 555 0100\r\nEND:VCARD\r\n";
    const std::vector<VCardContact> cards = IndexAndRead(text);
    ASSERT_EQ(cards.size(), 1u);
    EXPECT_EQ(U8(cards[0].name), "Boss");
    EXPECT_EQ(U8(cards[0].mobile), "+1 555 0100");
    // Without a mobile number of its own, the outer card is not listed.
    EXPECT_TRUE(IndexAndRead("BEGIN:VCARD\nFN:Boss\nAGENT:\nBEGIN:VCARD\nFN:Agent\n"
                             "TEL;CELL:1\nEND:VCARD\nEND:VCARD\n")
                    .empty());
}

TEST(VCardReader, EmptyAndGarbageTextsHaveNoCards) {
    EXPECT_TRUE(IndexAndRead("").empty());
    EXPECT_TRUE(IndexAndRead("\n\r\n\r").empty());
    EXPECT_TRUE(IndexAndRead(std::string(1000, '=')).empty());
    EXPECT_TRUE(IndexAndRead("BEGIN:VCARD").empty());
    EXPECT_TRUE(IndexAndRead("BEGIN:VCARD\nFN;QUOTED-PRINTABLE:=\n=\n=").empty());
    std::string noise;
    for (int i = 0; i < 4096; ++i) noise.push_back(static_cast<char>((i * 7919) % 255 + 1));
    EXPECT_TRUE(IndexAndRead(noise).empty());
}

TEST(VCardReader, PrepareDropsByteOrderMarksAndRejectsBinary) {
    std::string utf8 = "\xEF\xBB\xBF" + Card("FN:Bom\nTEL;CELL:1\n");
    ASSERT_TRUE(PrepareVCardText(&utf8));
    EXPECT_EQ(utf8.rfind("BEGIN:VCARD", 0), 0u);

    const std::string plain = Card("FN:Zoë\nTEL;CELL:1\n");
    const std::u16string wide = Utf8ToUtf16(plain);
    std::string le = "\xFF\xFE", be = "\xFE\xFF";
    for (char16_t c : wide) {
        le.push_back(static_cast<char>(c & 0xFF));
        le.push_back(static_cast<char>(c >> 8));
        be.push_back(static_cast<char>(c >> 8));
        be.push_back(static_cast<char>(c & 0xFF));
    }
    ASSERT_TRUE(PrepareVCardText(&le));
    ASSERT_TRUE(PrepareVCardText(&be));
    EXPECT_EQ(le, plain);
    EXPECT_EQ(be, plain);
    EXPECT_EQ(U8(IndexAndRead(le).at(0).name), "Zoë");

    std::string binary("BEGIN:VCARD\n\0\x01\x02", 15);
    EXPECT_FALSE(PrepareVCardText(&binary));
    std::string empty;
    EXPECT_TRUE(PrepareVCardText(&empty));
}

// --- The contacts folder ---------------------------------------------------------------------

TEST(ContactDirectory, SampleFolderOfEveryVersion) {
    ContactDirectory dir;
    ASSERT_EQ(dir.Load(VELKAN_TEST_DATA_DIR "/contacts"), 9u);
    EXPECT_EQ(dir.FileCount(), 4u);  // notes.txt is not a vCard file
    const std::pair<const char*, const char*> expected[] = {
        {"After The Broken One", "+1 555 0001"},  // archive/2019/Broken.VCF
        {"Dr. Yuki Tanaka", "+81-90-1234-5678"},  // family.vcard (4.0)
        {"Priya Raman", "+91 98765 43210"},
        {"Velkan Garage", "+33 6 12 34 56 78"},
        {"Jürgen Müller, Straßenbau und Tiefbau", "+49 171 2345678"},  // outlook_export (2.1)
        {"Zofia Łukasiewicz", "0601 234 567"},
        {"Ann (work)", "+44 77 12"},  // phone_backup.vcf (3.0)
        {"Smith, John; Jr.\nSales", "077 12"},
        {"Björk Guðmundsdóttir with a very long formatted name that an exporter folded over "
         "three lines",
         "+354 555 1234"},
    };
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        VCardContact c;
        ASSERT_TRUE(dir.Fetch(i, &c)) << i;
        EXPECT_EQ(U8(c.name), expected[i].first) << i;
        EXPECT_EQ(U8(c.mobile), expected[i].second) << i;
    }
    // Contacts without a mobile number (only home or work numbers, an empty mobile field) and
    // the agent inside another card are not listed.
    for (std::size_t i = 0; i < dir.Count(); ++i) {
        VCardContact c;
        dir.Fetch(i, &c);
        EXPECT_NE(U8(c.name), "Chidi Okafor");
        EXPECT_NE(U8(c.name), "Only Home Number");
        EXPECT_NE(U8(c.name), "Empty Mobile");
        EXPECT_NE(U8(c.name), "Agent Smith");
    }
    VCardContact none;
    EXPECT_FALSE(dir.Fetch(9, &none));
    EXPECT_TRUE(none.name.empty());
}

TEST(ContactDirectory, MissingEmptyOrSingleFilePaths) {
    ContactDirectory dir;
    EXPECT_EQ(dir.Load(""), 0u);
    EXPECT_EQ(dir.Load("/nonexistent/velkan/contacts"), 0u);
    EXPECT_EQ(dir.Load(VELKAN_TEST_DATA_DIR "/contacts/family.vcard"), 3u);
    EXPECT_EQ(dir.Load(VELKAN_TEST_DATA_DIR "/contacts/notes.txt"), 1u);  // named explicitly
    TempDir empty;
    EXPECT_EQ(dir.Load(empty.Path()), 0u);
    EXPECT_EQ(dir.Count(), 0u);
}

TEST(ContactDirectory, BinaryHugeAndOddFilesAreSkipped) {
    TempDir t;
    t.Write("good.vcf", Card("FN:Good\nTEL;CELL:1\n"));
    static const char kBinary[] = "BEGIN:VCARD\nFN:Bin\0\nTEL;CELL:2\nEND:VCARD\n";
    t.Write("binary.vcf", std::string(kBinary, sizeof(kBinary) - 1));
    std::string huge = Card("FN:Huge\nTEL;CELL:3\n");
    huge.resize(ContactDirectory::kDefaultMaxFileBytes + 1, '\n');
    t.Write("huge.vcf", huge);
    std::string justFits = Card("FN:Fits\nTEL;CELL:4\n");
    justFits.resize(ContactDirectory::kDefaultMaxFileBytes, '\n');
    t.Write("sub/fits.vcf", justFits);
    fs::create_directories(fs::path(t.Path()) / "folder.vcf");
    fs::create_symlink(fs::path(t.Path()) / "missing-target", fs::path(t.Path()) / "dangling.vcf");
    t.Write("empty.vcf", "");

    ContactDirectory dir;
    ASSERT_EQ(dir.Load(t.Path()), 2u);
    VCardContact a, b;
    ASSERT_TRUE(dir.Fetch(0, &a));
    ASSERT_TRUE(dir.Fetch(1, &b));
    EXPECT_EQ(U8(a.name), "Good");
    EXPECT_EQ(U8(b.name), "Fits");
    // A smaller cap leaves the large file out too.
    EXPECT_EQ(dir.Load(t.Path(), 1000), 1u);
}

TEST(ContactDirectory, UnreadableFilesAreSkipped) {
    if (geteuid() == 0) GTEST_SKIP() << "file permissions do not bind the superuser";
    TempDir t;
    t.Write("good.vcf", Card("FN:Good\nTEL;CELL:1\n"));
    t.Write("locked.vcf", Card("FN:Locked\nTEL;CELL:2\n"));
    fs::permissions(fs::path(t.Path()) / "locked.vcf", fs::perms::none);
    ContactDirectory dir;
    EXPECT_EQ(dir.Load(t.Path()), 1u);
}

TEST(ContactDirectory, TenThousandContactsLoadQuickly) {
    TempDir t;
    std::string big;
    for (int i = 0; i < 5000; ++i) {
        big += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Family" + std::to_string(i) +
               ";Given;;;\r\nFN:Given Family" + std::to_string(i) + "\r\nTEL;TYPE=HOME:+1 555 " +
               std::to_string(i) + "\r\nTEL;TYPE=CELL:+44 7700 " + std::to_string(100000 + i) +
               "\r\nEMAIL:given" + std::to_string(i) + "@example.org\r\nEND:VCARD\r\n";
    }
    t.Write("all.vcf", big);
    for (int f = 0; f < 50; ++f) {
        std::string part;
        for (int i = 0; i < 100; ++i) {
            part += Card("FN:Person " + std::to_string(f * 100 + i) + "\nTEL;TYPE=cell,voice:07" +
                         std::to_string(f * 100 + i) + "\n");
        }
        t.Write("split/part" + std::to_string(f) + ".vcf", part);
    }
    ContactDirectory dir;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(dir.Load(t.Path()), 10000u);
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    std::printf("loading 10000 contacts from 51 files: %.1f ms\n", ms);
    // Generous for slow and instrumented builds; an unsorted, decoded-on-demand index of this
    // size loads in a few tens of milliseconds on an ordinary machine.
    EXPECT_LT(ms, 3000.0);
    VCardContact c;
    ASSERT_TRUE(dir.Fetch(4999, &c));
    EXPECT_EQ(U8(c.name), "Given Family4999");
    EXPECT_EQ(U8(c.mobile), "+44 7700 104999");
}

TEST(ContactDirectory, DefaultFolderFollowsTheDataHome) {
    const char* oldData = std::getenv("XDG_DATA_HOME");
    const std::string savedData = oldData != nullptr ? oldData : "";
    const char* oldHome = std::getenv("HOME");
    const std::string savedHome = oldHome != nullptr ? oldHome : "";

    setenv("XDG_DATA_HOME", "/data/home", 1);
    EXPECT_EQ(DefaultContactsFolder(), "/data/home/contacts");
    setenv("XDG_DATA_HOME", "relative/is/ignored", 1);
    setenv("HOME", "/home/ann", 1);
    EXPECT_EQ(DefaultContactsFolder(), "/home/ann/.local/share/contacts");
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(DefaultContactsFolder(), "/home/ann/.local/share/contacts");
    EXPECT_EQ(ExpandHomeFolder("~/cards"), "/home/ann/cards");
    EXPECT_EQ(ExpandHomeFolder("~"), "/home/ann");
    EXPECT_EQ(ExpandHomeFolder("/abs/~/x"), "/abs/~/x");
    EXPECT_EQ(ExpandHomeFolder("~other/x"), "~other/x");
    unsetenv("HOME");
    EXPECT_EQ(DefaultContactsFolder(), "");

    if (!savedData.empty()) setenv("XDG_DATA_HOME", savedData.c_str(), 1);
    if (!savedHome.empty()) setenv("HOME", savedHome.c_str(), 1);
}

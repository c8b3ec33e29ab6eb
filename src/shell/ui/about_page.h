// SPDX-License-Identifier: GPL-3.0-or-later
// The About page (template 103): the logo (bitmap 113), the product name, the tagline, the
// version (control 1040) and the maker's lines (the maker, the release, the licence). It is the
// start-up screen and is reached from the message list's Options menu; its "X" button closes it
// (IDCANCEL). Its menu bar (127) is empty.
#pragma once

#include "framework/ui/dialog_base.h"

class QLabel;
class QToolButton;
class QFrame;

constexpr int kAboutTemplate = 103;
constexpr int kAboutMenuBar = 127;
// Controls: the version, the logo (named by its bitmap) and the "X" button (IDCANCEL), and by
// name the product, the tagline, the maker's lines and the line under the header.
constexpr int kAboutVersionControl = 1040;
constexpr int kAboutLogoBitmap = 113;
inline constexpr char kAboutProductName[] = "product";
inline constexpr char kAboutTaglineName[] = "tagline";
inline constexpr char kAboutMakerName[] = "maker";
inline constexpr char kAboutReleaseName[] = "release";
inline constexpr char kAboutLicenceName[] = "licence";
inline constexpr char kAboutSeparatorName[] = "separator";

class AboutPage : public DialogBase {
    Q_OBJECT
  public:
    explicit AboutPage(QWidget* parent = nullptr);

    // The texts the page shows, for the tests and the manual.
    static const char* Tagline();
    static const char* VersionText();
    static const char* Maker();
    // The maker's second and third lines: the release of this build (the project version) and
    // the licence, in the user's language.
    static QString ReleaseText();
    static QString LicenceText();

  protected:
    bool OnInitDialog() override;
    MenuBarDef MenuBarDefinition() const override { return {}; }  // menu bar 127: empty
    void Layout(int w, int h) override;

  private:
    QToolButton* close_ = nullptr;
    QFrame* separator_ = nullptr;
    QLabel* logo_ = nullptr;
    QLabel* product_ = nullptr;
    QLabel* tagline_ = nullptr;
    QLabel* version_ = nullptr;
    QLabel* maker_ = nullptr;
    QLabel* release_ = nullptr;
    QLabel* licence_ = nullptr;
};

// Bitmap 113, the product's logo (compiled into the program).
class QPixmap;
QPixmap LoadLogoBitmap();

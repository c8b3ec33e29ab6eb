// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/about_page.h"

#include <QFrame>
#include <QLabel>
#include <QPixmap>
#include <QToolButton>

#include "framework/text_buffer.h"
#include "framework/ui/dialog_units.h"
#include "framework/ui/ui_fonts.h"
#include "release_version.h"

static void InitImageResources() {
    Q_INIT_RESOURCE(resources);
}

namespace {

constexpr unsigned kProductNameId = 2;
// The header strip: the close button sits in it, a one-pixel line ends it (as on the list).
constexpr int kHeaderHeight = 24;

// The page's units: dialog units of its font (Tahoma 9) counted in the font's own average
// character width and rounded down, as the page has always been laid out.
DialogUnits PageUnits() {
    return DialogUnits(DialogFont(), DialogUnits::BaseWidth::kFontAverage,
                       DialogUnits::Rounding::kDown);
}

// Template 103 below the header, in dialog units: each row is centred across the page.
struct Row {
    int top;
    int height;
};
constexpr Row kLogoRow = {10, 0};  // the bitmap keeps its own size
constexpr int kGapAfterLogo = 6;
constexpr int kProductHeight = 14;
constexpr int kTaglineHeight = 10;
constexpr int kVersionGap = 8;
constexpr int kVersionHeight = 10;
constexpr int kMakerGap = 14;
constexpr int kMakerHeight = 10;
constexpr int kSideMargin = 4;

QLabel* CenteredLabel(QWidget* parent, const QString& text, const QString& name) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    label->setWordWrap(true);
    return label;
}

}  // namespace

QPixmap LoadLogoBitmap() {
    InitImageResources();
    return QPixmap(QStringLiteral(":/images/logo113.png"));
}

AboutPage::AboutPage(QWidget* parent) : DialogBase(kAboutTemplate, parent) {}

const char* AboutPage::Tagline() {
    return QT_TR_NOOP("SMS Management for Pocket PC");
}
const char* AboutPage::VersionText() {
    return "Version 1.1 (c4)";
}
const char* AboutPage::Maker() {
    return "Orvane Systems";
}
QString AboutPage::ReleaseText() {
    return tr("Release %1").arg(QLatin1String(kReleaseVersion));
}
QString AboutPage::LicenceText() {
    return tr("Licensed under the GNU General Public License, version 3 or later");
}

bool AboutPage::OnInitDialog() {
    close_ = new QToolButton(this);
    close_->setObjectName(QString::number(IDCANCEL));
    close_->setText(QStringLiteral("X"));
    close_->setToolTip(tr("Close"));
    close_->setAutoRaise(true);
    QFont closeFont = GetUiFont(UiFont::SmallBold);
    close_->setFont(closeFont);
    ConnectButton(close_, IDCANCEL);

    separator_ = new QFrame(this);
    separator_->setObjectName(QLatin1String(kAboutSeparatorName));
    separator_->setFrameShape(QFrame::NoFrame);
    separator_->setAutoFillBackground(true);
    QPalette linePalette = separator_->palette();
    linePalette.setColor(QPalette::Window, QColor(0, 0, 0));
    separator_->setPalette(linePalette);

    logo_ = new QLabel(this);
    logo_->setObjectName(QString::number(kAboutLogoBitmap));
    logo_->setAlignment(Qt::AlignCenter);
    logo_->setPixmap(LoadLogoBitmap());

    TextBuffer product;
    product.LoadResourceString(kProductNameId);
    product_ =
        CenteredLabel(this, QString::fromUtf16(product.Text()), QLatin1String(kAboutProductName));
    product_->setFont(GetUiFont(UiFont::LargeBold));
    tagline_ = CenteredLabel(this, tr(Tagline()), QLatin1String(kAboutTaglineName));
    version_ = CenteredLabel(this, QString(), QString::number(kAboutVersionControl));
    maker_ = CenteredLabel(this, QString::fromLatin1(Maker()), QLatin1String(kAboutMakerName));
    release_ = CenteredLabel(this, ReleaseText(), QLatin1String(kAboutReleaseName));
    licence_ = CenteredLabel(this, LicenceText(), QLatin1String(kAboutLicenceName));
    // The version is set at initialisation, as the dialog's own code always did.
    version_->setText(QString::fromLatin1(VersionText()));
    return true;
}

void AboutPage::Layout(int w, int h) {
    (void)h;
    if (close_ == nullptr) return;
    const DialogUnits du = PageUnits();
    close_->setGeometry(w - 2 - 22, 1, 22, kHeaderHeight - 2);
    separator_->setGeometry(0, kHeaderHeight, w, 1);

    const int margin = du.X(kSideMargin);
    const int width = qMax(0, w - 2 * margin);
    int y = kHeaderHeight + 1 + du.Y(kLogoRow.top);
    const QSize logoSize = logo_->pixmap().isNull() ? QSize(0, 0) : logo_->pixmap().size();
    logo_->setGeometry((w - logoSize.width()) / 2, y, logoSize.width(), logoSize.height());
    y += logoSize.height() + du.Y(kGapAfterLogo);

    const auto place = [&](QLabel* label, int unitsHigh) {
        const int height = qMax(du.Y(unitsHigh), label->heightForWidth(width));
        label->setGeometry(margin, y, width, height);
        y += height;
    };
    place(product_, kProductHeight);
    place(tagline_, kTaglineHeight);
    y += du.Y(kVersionGap);
    place(version_, kVersionHeight);
    y += du.Y(kMakerGap);
    place(maker_, kMakerHeight);
    place(release_, kMakerHeight);
    place(licence_, kMakerHeight);
}

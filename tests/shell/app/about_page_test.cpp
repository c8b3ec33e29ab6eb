// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/about_page.h"

#include <QLabel>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include "shell/ui/main_window.h"

namespace {

// Runs the About page as a page of the frame and calls `check` once it shows.
class ShownAbout : public AboutPage {
  public:
    std::function<void()> onShown;

  protected:
    void showEvent(QShowEvent* e) override {
        AboutPage::showEvent(e);
        if (onShown) {
            auto f = onShown;
            onShown = nullptr;
            QTimer::singleShot(0, this, f);
        }
    }
};

QString Text(DialogBase& page, const QString& name) {
    auto* label = page.findChild<QLabel*>(name);
    return label != nullptr ? label->text() : QString("(missing %1)").arg(name);
}

QString Name(int id) {
    return QString::number(id);
}

}  // namespace

class AboutPageTest : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        frame = new MainWindow;
        frame->show();
    }
    void cleanup() {
        delete frame;
        frame = nullptr;
    }

    void showsProductTaglineVersionAndMaker() {
        ShownAbout about;
        about.onShown = [&] {
            QCOMPARE(about.TemplateId(), 103);
            QCOMPARE(Text(about, Name(kAboutVersionControl)), QString("Version 1.1 (c4)"));
            QCOMPARE(Text(about, kAboutProductName), QString("Velkan Tessiver"));
            QCOMPARE(Text(about, kAboutTaglineName), QString("SMS Management for Pocket PC"));
            QCOMPARE(Text(about, kAboutMakerName), QString("Orvane Systems"));
            // The maker's second line is the release of the build, the third its licence.
            QCOMPARE(Text(about, kAboutReleaseName), QString("Release %1").arg(VELKAN_RELEASE));
            QCOMPARE(Text(about, kAboutLicenceName),
                     QString("Licensed under the GNU General Public License, version 3 or later"));
            // They stand below the maker, in that order, each on its own.
            auto* maker = about.findChild<QLabel*>(kAboutMakerName);
            auto* release = about.findChild<QLabel*>(kAboutReleaseName);
            auto* licence = about.findChild<QLabel*>(kAboutLicenceName);
            QVERIFY(release->isVisible() && licence->isVisible());
            QVERIFY(release->geometry().top() >= maker->geometry().bottom());
            QVERIFY(licence->geometry().top() >= release->geometry().bottom());
            about.EndDialog(IDOK);
        };
        QCOMPARE(about.RunPage(nullptr), IDOK);
    }

    void showsTheLogoBitmap() {
        QVERIFY(!LoadLogoBitmap().isNull());
        QCOMPARE(LoadLogoBitmap().size(), QSize(96, 96));
        ShownAbout about;
        about.onShown = [&] {
            auto* logo = about.ControlAs<QLabel>(kAboutLogoBitmap);
            QVERIFY(logo != nullptr);
            QVERIFY(!logo->pixmap().isNull());
            QVERIFY(logo->isVisible());
            const QImage shot = about.grab().toImage();
            const QPoint origin = logo->geometry().topLeft();
            // The tile's top is sky blue, its bottom teal, the bubble in between white.
            const QColor top = shot.pixelColor(origin + QPoint(48, 8));
            QVERIFY2(top.blue() > 180 && top.red() < 90, qPrintable(top.name()));
            const QColor bottom = shot.pixelColor(origin + QPoint(70, 86));
            QVERIFY2(bottom.green() > bottom.red() + 60 && bottom.blue() < 150,
                     qPrintable(bottom.name()));
            const QColor bubble = shot.pixelColor(origin + QPoint(20, 30));
            QCOMPARE(bubble, QColor(Qt::white));
            // Outside the tile the page's white shows through.
            QCOMPARE(shot.pixelColor(origin + QPoint(1, 1)), QColor(Qt::white));
            about.EndDialog(IDOK);
        };
        about.RunPage(nullptr);
    }

    void theXButtonClosesWithCancel() {
        ShownAbout about;
        about.onShown = [&] {
            auto* close = about.ControlAs<QToolButton>(IDCANCEL);
            QVERIFY(close != nullptr);
            QCOMPARE(close->text(), QString("X"));
            close->click();
        };
        QCOMPARE(about.RunPage(nullptr), IDCANCEL);
    }

    void hasAnEmptyMenuBar() {
        ShownAbout about;
        about.onShown = [&] {
            QVERIFY(about.Bar() != nullptr);
            QVERIFY(about.Bar()->findChildren<QToolButton*>().isEmpty());
            QCOMPARE(about.Bar()->geometry().bottom(), about.height() - 1);
            about.EndDialog(IDOK);
        };
        about.RunPage(nullptr);
    }

    void layoutCentresEverythingAtAnySize() {
        ShownAbout about;
        about.onShown = [&] {
            for (const QSize size : {QSize(360, 560), QSize(240, 320), QSize(640, 400)}) {
                frame->resize(size);
                QCOMPARE(about.size(), size);
                const int w = about.width();
                auto* close = about.ControlAs<QToolButton>(IDCANCEL);
                QCOMPARE(close->geometry().right(), w - 3);  // right edge at w - 2
                QCOMPARE(close->geometry().top(), 1);
                int previousBottom = 24;
                for (const QString& name : {Name(kAboutLogoBitmap), QString(kAboutProductName),
                                            QString(kAboutTaglineName), Name(kAboutVersionControl),
                                            QString(kAboutMakerName)}) {
                    auto* label = about.findChild<QLabel*>(name);
                    QVERIFY(label != nullptr);
                    const QRect g = label->geometry();
                    QVERIFY2(qAbs(g.center().x() - (w - 1) / 2) <= 1, qPrintable(name));
                    QVERIFY2(g.left() >= 0 && g.right() < w, qPrintable(name));
                    QVERIFY2(g.top() > previousBottom,
                             qPrintable(name));  // in order, without overlap
                    previousBottom = g.bottom();
                }
            }
            about.EndDialog(IDOK);
        };
        about.RunPage(nullptr);
    }

  private:
    MainWindow* frame = nullptr;
};

QTEST_MAIN(AboutPageTest)
#include "about_page_test.moc"

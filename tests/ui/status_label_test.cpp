// The status label as a widget: what it paints (grabbed offscreen and read
// pixel by pixel), its flashing, and what its clicks do.
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest/QTest>

#include "controls/gradient_bands.h"
#include "controls/status_label.h"
#include "scripted_prompter.h"

using namespace torvek;
using torvek::test::RecordingLauncher;

namespace {

constexpr Color kWhite = 0xFFFFFF;
constexpr Color kRed = 0x0000FF;
constexpr Color kBlue = 0xFF0000;

QColor Rgb(Color c) {
  return QColor(static_cast<int>(c & 0xFF), static_cast<int>((c >> 8) & 0xFF),
                static_cast<int>((c >> 16) & 0xFF));
}

bool Near(const QColor& a, const QColor& b, int tolerance = 40) {
  return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
         std::abs(a.blue() - b.blue()) <= tolerance;
}

// Where the pixels of one colour lie in a picture.
struct Ink {
  int count = 0;
  QRect box;
  int longestRow = 0;  // the longest unbroken run on one row
};

Ink Find(const QImage& image, const QColor& color) {
  Ink ink;
  for (int y = 0; y < image.height(); ++y) {
    int run = 0;
    for (int x = 0; x < image.width(); ++x) {
      if (Near(image.pixelColor(x, y), color)) {
        ++ink.count;
        ink.box |= QRect(x, y, 1, 1);
        ink.longestRow = std::max(ink.longestRow, ++run);
      } else {
        run = 0;
      }
    }
  }
  return ink;
}

QImage Shot(QWidget& widget) { return widget.grab().toImage(); }

// The status line as the Mac Writer page sets it up.
void StatusLine(CStatusLabel& label, bool underline = true) {
  label.resize(320, 40);
  label.SetTextColor(kRed).SetFontUnderline(underline).SetFontSize(14).SetBkColor(kWhite).SetText(
      "Waiting for the result...");
}

void Click(QWidget& widget, Qt::MouseButton button = Qt::LeftButton) {
  QTest::mouseClick(&widget, button, {}, QPoint(5, 5));
}

}  // namespace

class StatusLabelTest : public QObject {
  Q_OBJECT

 private slots:
  void statusLineShowsItsColoursAndUnderline() {
    CStatusLabel label;
    StatusLine(label);
    const QImage image = Shot(label);
    if (const QByteArray dir = qgetenv("TORVEK_SHOT_DIR"); !dir.isEmpty())
      image.save(QString::fromLocal8Bit(dir) + "/status_label_solid.png");
    QCOMPARE(image.pixelColor(0, 0), Rgb(kWhite));
    QCOMPARE(image.pixelColor(319, 39), Rgb(kWhite));
    const Ink text = Find(image, Rgb(kRed));
    QVERIFY2(text.count > 100, qPrintable(QString::number(text.count)));
    // Left and top by default.
    QVERIFY(text.box.left() < 10);
    QVERIFY(text.box.top() < 15);
    // The underline is one unbroken stroke under the whole text.
    QVERIFY(text.longestRow > text.box.width() * 9 / 10);

    CStatusLabel plain;
    StatusLine(plain, false);
    const Ink letters = Find(Shot(plain), Rgb(kRed));
    QVERIFY(letters.count > 100);
    QVERIFY(letters.longestRow < letters.box.width() / 3);
  }

  void gradientRunsFromLeftToRightColour() {
    for (int width : {60, 100, 333}) {
      CStatusLabel label;
      label.resize(width, 24);
      label.SetBkColor(kBlue, kRed, 1);
      const QImage image = Shot(label);
      if (const QByteArray dir = qgetenv("TORVEK_SHOT_DIR"); !dir.isEmpty())
        image.save(QString::fromLocal8Bit(dir) +
                   QString("/status_label_gradient_%1.png").arg(width));
      const auto bands = GradientBands(0, width, kBlue, kRed);
      QCOMPARE(image.pixelColor(0, 12), Rgb(kBlue));
      QCOMPARE(image.pixelColor(width - 1, 23), Rgb(bands.back().color));
      QVERIFY(Near(image.pixelColor(width - 1, 0), Rgb(kRed), 12));
      for (const GradientBand& band : bands)
        QCOMPARE(image.pixelColor(band.left, 5), Rgb(band.color));
    }
    // Colour set, mode back to 0: solid again.
    CStatusLabel label;
    label.resize(150, 20);
    label.SetBkColor(kBlue, kRed, 1).SetBkColor(kRed);
    QCOMPARE(Shot(label).pixelColor(149, 0), Rgb(kRed));
  }

  void flashingTextVanishesIntoItsBrushAndComesBack() {
    CStatusLabel label;
    StatusLine(label);
    label.FlashText(true);
    QVERIFY(label.Flashing());
    QCOMPARE(Find(Shot(label), Rgb(kRed)).count, 0);
    QTRY_VERIFY_WITH_TIMEOUT(Find(Shot(label), Rgb(kRed)).count > 100, 2000);
    QTRY_COMPARE_WITH_TIMEOUT(Find(Shot(label), Rgb(kRed)).count, 0, 2000);
    label.FlashText(false);
    QVERIFY(!label.Flashing());
    QVERIFY(Find(Shot(label), Rgb(kRed)).count > 100);

    // A gradient leaves no brush: the hidden text is black.
    CStatusLabel gradient;
    StatusLine(gradient);
    gradient.SetBkColor(kWhite, kBlue, 1).FlashText(true);
    QCOMPARE(Find(Shot(gradient), Rgb(kRed)).count, 0);
    QVERIFY(Find(Shot(gradient), QColor(0, 0, 0)).count > 100);
  }

  void flashingBackgroundAlternatesAndStopsSteady() {
    CStatusLabel label;
    StatusLine(label);
    const QColor face = label.palette().color(QPalette::Button);
    label.FlashBackground(true);
    QCOMPARE(Shot(label).pixelColor(0, 0), face);
    QTRY_COMPARE_WITH_TIMEOUT(Shot(label).pixelColor(0, 0), Rgb(kWhite), 2000);
    QTRY_COMPARE_WITH_TIMEOUT(Shot(label).pixelColor(0, 0), face, 2000);
    label.FlashBackground(false);
    QVERIFY(!label.Flashing());
    QCOMPARE(Shot(label).pixelColor(0, 0), Rgb(kWhite));

    label.SetBkColor(kBlue, kRed, 1).FlashBackground(true);
    const QImage swapped = Shot(label);
    QCOMPARE(swapped.pixelColor(0, 0), Rgb(kRed));
    QVERIFY(Near(swapped.pixelColor(319, 0), Rgb(kBlue), 12));
  }

  void linkClicksOpenTheirTargetOrTellTheParent() {
    RecordingLauncher launcher;
    CStatusLabel label;
    label.setProperty("controlId", 1006);
    label.SetLauncher(&launcher);
    label.resize(200, 20);
    label.SetText("www.example.org");
    label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&label));
    QSignalSpy notified(&label, &CStatusLabel::Notified);

    Click(label);  // no link: a static takes no clicks
    QCOMPARE(notified.count(), 0);

    label.SetLink(true, true);
    Click(label);
    QCOMPARE(notified.count(), 1);
    QCOMPARE(notified.at(0).at(0).toInt(), 1006);
    QCOMPARE(notified.at(0).at(1).toUInt(), 0x8200u);
    QVERIFY(launcher.started.isEmpty());

    label.SetLink(true, false);
    Click(label);
    Click(label, Qt::RightButton);
    label.SetLinkUrl("http://10.0.0.1/index.html");
    Click(label);
    label.SetMailLink(true, false);
    label.SetText("lab@example.org");
    Click(label);
    label.SetMailLink(false, false);
    Click(label);
    QCOMPARE(launcher.started, (QList<QStringList>{{"url", "http://www.example.org"},
                                                   {"url", "http://10.0.0.1/index.html"},
                                                   {"url", "mailto:lab@example.org"}}));
    QCOMPARE(notified.count(), 1);
  }

  void linkCursorShowsOverTheLabel() {
    CStatusLabel label;
    label.SetLinkCursor(QCursor(Qt::PointingHandCursor));
    QCOMPARE(label.cursor().shape(), Qt::PointingHandCursor);
    label.SetLinkCursor(std::nullopt);
    QCOMPARE(label.cursor().shape(), Qt::ArrowCursor);
  }

  void setTextRedrawsAtOnceOnlyWhenShown() {
    QWidget parent;
    parent.resize(300, 100);
    auto* label = new CStatusLabel(&parent);
    label->setGeometry(10, 10, 200, 30);
    int paints = 0;
    struct Counter : QObject {
      int& n;
      explicit Counter(int& count) : n(count) {}
      bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) ++n;
        return false;
      }
    } counter(paints);
    label->installEventFilter(&counter);

    label->hide();
    parent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));
    label->SetText("hidden");
    QCOMPARE(label->text(), QString("hidden"));
    QCOMPARE(paints, 0);

    label->show();
    QTRY_VERIFY(paints > 0);
    const int before = paints;
    label->SetText("shown");  // painted before the event loop runs again
    QVERIFY(paints > before);
  }

  void styleWordLaysOutTheText() {
    auto box = [](unsigned style, const QString& text) {
      CStatusLabel label;
      label.resize(300, 90);
      label.SetStaticStyle(style);
      label.SetTextColor(kRed).SetBkColor(kWhite).SetText(text);
      return Find(Shot(label), Rgb(kRed)).box;
    };
    const QRect centred = box(static_style::kCenterImage, "centred");
    QVERIFY(std::abs(centred.center().x() - 150) < 6);
    QVERIFY(std::abs(centred.center().y() - 45) < 6);
    const QRect twoLines = box(static_style::kCenterImage, "first\r\nsecond");
    QVERIFY(std::abs(twoLines.center().x() - 150) < 10);
    QVERIFY(twoLines.top() < 10);
    QVERIFY(twoLines.height() > centred.height() * 3 / 2);
    QVERIFY(box(static_style::kRight, "right").right() > 290);
    // Word break wraps a long text; left-no-wrap cuts it at the edge.
    const QString many = "one two three four five six seven eight nine ten eleven twelve";
    QVERIFY(box(static_style::kLeft, many).height() >
            box(static_style::kLeftNoWordWrap, many).height());
  }

  void textEffectsAndEdges() {
    CStatusLabel label;
    label.resize(200, 200);
    label.SetBkColor(kWhite).SetTextColor(kRed).SetFontSize(16).SetText("Rotated");
    const Ink flat = Find(Shot(label), Rgb(kRed));
    label.SetRotationAngle(90, true);
    const Ink turned = Find(Shot(label), Rgb(kRed));
    QVERIFY(flat.box.width() > flat.box.height());
    QVERIFY(turned.box.height() > turned.box.width());
    // Written upward from the centre.
    QVERIFY(turned.box.bottom() <= 101);

    label.SetRotationAngle(0, false).SetText3D(true, 1).SetText3DHiliteColor(kBlue);
    const Ink hilite = Find(Shot(label), Rgb(kBlue));
    QVERIFY(hilite.count > 50);
    QCOMPARE(hilite.box.bottomRight(), flat.box.bottomRight() + QPoint(1, 1));

    label.SetText3D(false).SetBorder(true).SetSunken(true);
    QCOMPARE(label.contentsRect(), QRect(2, 2, 196, 196));
    const QImage edged = Shot(label);
    QCOMPARE(edged.pixelColor(0, 0), label.palette().color(QPalette::WindowText));
    QCOMPARE(edged.pixelColor(2, 2), Rgb(kWhite));
    label.SetBorder(false).SetSunken(false);
    QCOMPARE(label.contentsRect(), label.rect());
  }

  void transparentLabelShowsItsParent() {
    QWidget parent;
    parent.resize(200, 60);
    parent.setAutoFillBackground(true);
    QPalette green = parent.palette();
    green.setColor(QPalette::Window, QColor(0, 160, 0));
    parent.setPalette(green);
    auto* label = new CStatusLabel(&parent);
    label->setGeometry(0, 0, 200, 60);
    label->SetBkColor(kWhite).SetTextColor(kRed).SetText("over");
    QCOMPARE(parent.grab().toImage().pixelColor(150, 50), Rgb(kWhite));
    label->SetTransparent(true);
    const QImage image = parent.grab().toImage();
    QCOMPARE(image.pixelColor(150, 50), QColor(0, 160, 0));
    QVERIFY(Find(image, Rgb(kRed)).count > 10);
  }

  void paletteChangeRecoloursTheDefaultBackground() {
    CStatusLabel label;
    label.resize(100, 20);
    QCOMPARE(Shot(label).pixelColor(0, 0), label.palette().color(QPalette::Button));
    QPalette p = label.palette();
    p.setColor(QPalette::Button, QColor(10, 200, 30));
    label.setPalette(p);
    QCOMPARE(Shot(label).pixelColor(0, 0), QColor(10, 200, 30));
  }

  void fontSettersRefuseNonsense() {
    CStatusLabel label;
    label.SetFontSize(12).SetFontSize(0).SetFontSize(-3);
    QCOMPARE(label.font().pointSize(), 12);
    label.SetFontName(QString(80, 'x'), 2);
    QCOMPARE(label.font().family(), QString(31, 'x'));
    QFont described("DejaVu Serif", 9);
    described.setUnderline(true);
    label.SetFontBold(true).SetLogFont(described);
    QCOMPARE(label.font().family(), QString("DejaVu Serif"));
    QVERIFY(label.font().underline());
    QVERIFY(!label.font().bold());
  }
};

QTEST_MAIN(StatusLabelTest)
#include "status_label_test.moc"

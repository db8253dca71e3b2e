// The Mac Writer page on its own: its template, the barcode flow from box to
// box, the checks of a write, the answer in its order, the counter and its
// record in flight, the logs, the setup dialog and the label list.
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QtTest/QTest>

#include "control_by_id.h"
#include "controls/status_label.h"
#include "core/module_directory.h"
#include "platform/template_font.h"
#include "production/mac_writer_page.h"
#include "scripted_prompter.h"

using namespace torvek;
using namespace torvek::test;

namespace {

const MacAddress kPcMac{0x02, 0x77, 0x00, 0x00, 0x00, 0x01};
const MacAddress kModuleMac{0x00, 0x0E, 0xE3, 0x00, 0x00, 0x01};
const QString kNotSelected = "Module is not selected at the list, Please select module first!!!";

QString Read(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString("<none>");
}

// An answer of the module to a write, as the main window hands it on.
std::array<std::uint8_t, 1228> Answer(std::uint8_t result, const MacAddress& target = kPcMac,
                                      std::uint8_t command = 82) {
  std::array<std::uint8_t, 1228> frame{};
  frame[2] = command;
  frame[4] = result;
  std::copy(target.begin(), target.end(), frame.begin() + 17);
  return frame;
}

// A page with what the main window would give it, and a record of what it sent.
struct Bench : OfflinePlatform, SearchingSender {
  struct {
    QString programDir;
    MacAddress pcMac{};
  } program;
  ModuleDirectory selection;
  QList<QByteArray> sent;
  int searches = 0;
  std::unique_ptr<CMacWriterPage> page;

  explicit Bench(const QString& type = "740:ap") {
    program.programDir = dir.path() + "/";
    program.pcMac = kPcMac;
    selection.selectedRow = 0;
    selection.selectedModuleMac = kModuleMac;
    selection.selectedModuleType = type;
    Restart();
  }
  bool SendFrameAndSearch(std::uint8_t* frame) override {
    sent << QByteArray(reinterpret_cast<const char*>(frame), 1225);
    return true;
  }
  void StartSearch() override { ++searches; }
  // A new run of the program over the same folder.
  void Restart() {
    page = std::make_unique<CMacWriterPage>(
        MacWriterLinks{platform, program.programDir, program.pcMac, selection, *this});
    page->OnInitDialog();
  }
  QString File(const QString& name) const { return program.programDir + name; }
  QString KeyboardLog() const {
    return File(QString("keyboard_%1.txt").arg(QDate::currentDate().toString("yyyy_M_d")));
  }
  QString BarcodeLog() const {
    return File(QString("barcoder_%1.txt").arg(QDate::currentDate().toString("yyyy_M_d")));
  }
  void Answer(std::uint8_t result, const MacAddress& target = kPcMac) {
    const auto frame = ::Answer(result, target);
    page->OnMacWriteAnswer(frame.data(), frame.size());
  }
  QString Status() { return page->statusLabel().text(); }
  template <typename T = QWidget>
  T* Control(int id) {
    return ById<T>(*page, id);
  }
  // The new address of the last frame sent, as 12 lower-case digits.
  QString SentMac() const { return sent.last().mid(23, 6).toHex(); }
};

}  // namespace

class MacWriterPageTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { QApplication::setFont(TemplateFont(QApplication::font())); }

  void startsInManualModeWithTheDefaultCounterAndTheTemplatesTexts() {
    Bench b;
    auto* manual = b.Control<QRadioButton>(1007);
    QVERIFY(manual && manual->isChecked());
    QVERIFY(!b.Control<QRadioButton>(1003)->isChecked());
    QCOMPARE(b.page->writeMode, 1);
    // Manual mode at start, yet the boxes stay enabled until it is clicked.
    QVERIFY(b.Control(1008)->isEnabled());
    QCOMPARE(b.Control<QLineEdit>(1008)->maxLength(), 12);
    QCOMPARE(b.Control<QLineEdit>(1009)->maxLength(), 13);
    QCOMPARE(b.Control<QLabel>(1004)->text(), QString("00-50-38"));
    QCOMPARE(b.Control<QLabel>(1005)->text(), QString("00-00-01"));
    QCOMPARE(b.Control<QLabel>(1011)->text(), QString());
    QCOMPARE(b.Status(), QString());
    QCOMPARE(b.Control<QComboBox>(1096)->currentText(), QString("1"));
    QCOMPARE(b.Control<QComboBox>(1096)->count(), 10);
    QVERIFY(b.Control<QPushButton>(1000)->isDefault());
    QVERIFY(b.Control<QPlainTextEdit>(1023)->toPlainText().startsWith(
        " 1. Select system at the left list box\n 2. Press ping button"));
    QVERIFY(qobject_cast<CStatusLabel*>(b.Control(1006)));
    QVERIFY(b.Control(1012) && !b.Control(1012)->isVisibleTo(b.page.get()));
    // No counter file is made at start.
    QVERIFY(!QFile::exists(b.File("mac_data_file.txt")));

    // TORVEK_SHOT_DIR keeps a picture of the page as it starts, for a look by eye.
    if (const QString shots = qEnvironmentVariable("TORVEK_SHOT_DIR"); !shots.isEmpty())
      QVERIFY(b.page->grab().save(shots + "/mac_writer_page.png"));

    // A status change keeps the instructions where the operator scrolled them.
    QScrollBar* scroll = b.Control<QPlainTextEdit>(1023)->verticalScrollBar();
    QVERIFY(scroll->maximum() > 0);
    scroll->setValue(scroll->maximum());
    b.page->ReportStatus(102);
    QCOMPARE(scroll->value(), scroll->maximum());

    b.Control<QRadioButton>(1007)->click();
    QVERIFY(!b.Control(1008)->isEnabled());
    b.Control<QRadioButton>(1003)->click();
    QCOMPARE(b.page->writeMode, 0);
    QVERIFY(b.Control(1009)->isEnabled());
  }

  void aScanRunsFromBoxToBoxAndOneEnterWrites() {
    Bench b;
    b.page->show();
    QApplication::setActiveWindow(b.page.get());
    QVERIFY(QTest::qWaitForWindowActive(b.page.get()));
    b.Control<QRadioButton>(1003)->click();
    auto* mac = b.Control<QLineEdit>(1008);
    auto* serial = b.Control<QLineEdit>(1009);
    mac->setText("stale");
    mac->setFocus();
    // A box is emptied as it gets the focus.
    QTRY_VERIFY(mac->hasFocus());
    QCOMPARE(mac->text(), QString());
    QTest::keyClicks(mac, "0050AbCDef01");
    QVERIFY(serial->hasFocus());
    // A short serial keeps the focus in its box.
    QTest::keyClicks(serial, "SN1234");
    QVERIFY(serial->hasFocus());
    QTest::keyClicks(serial, "5678901");
    QVERIFY(b.Control(1000)->hasFocus());
    QTest::keyClick(b.Control(1000), Qt::Key_Return);
    QCOMPARE(b.sent.size(), 1);
    QCOMPARE(b.SentMac(), QString("0050abcdef01"));
    QCOMPARE(b.Status(), QString("Waiting for the result..."));
    QVERIFY(b.page->session().macWritePending);

    // The good answer logs the code as scanned and empties the boxes.
    b.Answer(0);
    QCOMPARE(Read(b.BarcodeLog()).section(',', 1), QString("0050AbCDef01,SN12345678901,OK\n"));
    QCOMPARE(b.Control<QLabel>(1011)->text(), QString("0050AbCDef01"));
    QCOMPARE(b.Control<QLabel>(1010)->text(), QString("SN12345678901"));
    QCOMPARE(mac->text(), QString());
    QCOMPARE(serial->text(), QString());
    // Barcode mode leaves the counter alone.
    QVERIFY(!QFile::exists(b.File("mac_data_file.txt")));

    // A full box that is typed into hands the focus on, as at its limit.
    for (auto [box, next] : {std::pair<QLineEdit*, QWidget*>{mac, serial},
                             std::pair<QLineEdit*, QWidget*>{serial, b.Control(1000)}}) {
      box->setFocus();
      QVERIFY(box->hasFocus());
      {
        const QSignalBlocker quiet(box);
        box->setText(QString(box->maxLength(), '1'));
      }
      QTest::keyClick(box, Qt::Key_X);
      QVERIFY(next->hasFocus());
      QCOMPARE(box->text(), QString(box->maxLength(), '1'));
    }
  }

  void aBarcodeIsRefusedByLengthFirstThenByItsDigits() {
    Bench b;
    b.page->OnBarcodeMode();
    b.Control<QLineEdit>(1008)->setText("0050abcdef0");
    b.page->OnMacWrite();
    QCOMPARE(b.Status(), QString("No scanned Mac Address"));
    QCOMPARE(b.beeper.warnings, 3);
    QVERIFY(b.sent.isEmpty());

    b.page->statusLabel().SetText("before");
    b.Control<QLineEdit>(1008)->setText("0050abcdeg01");
    b.prompter.Expect({" Bar Code input error"});
    b.page->OnMacWrite();
    QVERIFY(b.prompter.Pending().isEmpty());
    QCOMPARE(b.Status(), QString("before"));
    QCOMPARE(b.Control<QLineEdit>(1008)->text(), QString("0050abcdeg01"));
    QVERIFY(b.sent.isEmpty());

    // An empty serial does not stop a write; its log field is empty.
    b.Control<QLineEdit>(1008)->setText("0050abcdef02");
    b.page->OnMacWrite();
    QCOMPARE(b.sent.size(), 1);
    b.Answer(0);
    QCOMPARE(Read(b.BarcodeLog()).section(',', 1), QString("0050abcdef02,,OK\n"));

    b.selection.selectedRow = -1;
    b.prompter.Expect({kNotSelected});
    b.page->OnMacWrite();
    QCOMPARE(b.sent.size(), 1);
  }

  void manualWritesAdvanceByTheModelsStepAndLogInLowerCase() {
    for (const auto& [type, after] :
         {std::pair{"740:ap", "5\n5038\n"}, std::pair{"740P:gw", "5\n5038\n"},
          std::pair{"730:ap", "3\n5038\n"}}) {
      Bench b(type);
      // Whatever stands in the boxes plays no part.
      b.Control<QLineEdit>(1008)->setText("zz");
      b.page->OnMacWrite();
      QCOMPARE(b.SentMac(), QString("005038000001"));
      b.Answer(0);
      QCOMPARE(Read(b.File("mac_data_file.txt")), QString(after));
      QCOMPARE(Read(b.KeyboardLog()).section(',', 1), QString("005038000001,no scan,OK\n"));
      QCOMPARE(b.Status(), QString("Success Mac Writing (system is rebooting)"));
      QCOMPARE(b.beeper.beeps, 1);
      QCOMPARE(b.beeper.warnings, 0);
      QCOMPARE(b.Control<QLabel>(1011)->text(), QString("005038000001"));
      QCOMPARE(b.Control<QLabel>(1010)->text(), QString("no scan"));
      QCOMPARE(b.Control<QLabel>(1005)->text(), QString(after[0] == '5' ? "00-00-05" : "00-00-03"));
      // Fifteen seconds later, once: a search and a beep.
      QVERIFY(b.page->session().RebootTimerActive());
      b.page->OnTimer(1234);
      QCOMPARE(b.searches, 0);
      b.page->OnTimer(kRebootTimer);
      QCOMPARE(b.searches, 1);
      QCOMPARE(b.beeper.beeps, 2);
      QVERIFY(!b.page->session().RebootTimerActive());
    }
  }

  void anAnswerForAnotherPcUsesUpTheWriteAndARefusalIsReported() {
    Bench b;
    b.page->OnMacWrite();
    b.Answer(0, kModuleMac);
    QVERIFY(!b.page->session().macWritePending);
    QCOMPARE(b.Status(), QString("Waiting for the result..."));
    // The true answer that follows finds nothing pending.
    b.Answer(0);
    QVERIFY(!QFile::exists(b.KeyboardLog()));
    QVERIFY(!QFile::exists(b.File("mac_data_file.txt")));

    b.page->OnMacWrite();
    b.Answer(20);
    QCOMPARE(b.Status(), QString("Failed(20) : unknown error"));
    QCOMPARE(b.beeper.warnings, 3);
    QVERIFY(!QFile::exists(b.KeyboardLog()));
    QVERIFY(!b.page->session().RebootTimerActive());
    // The counter did not move: the next write sends the same address.
    b.page->OnMacWrite();
    QCOMPARE(b.SentMac(), QString("005038000001"));
  }

  void aStartAfterACrashStepsPastTheAddressInFlight() {
    Bench b;
    b.page->OnMacWrite();
    QVERIFY(QFile::exists(b.File("mac_in_flight.txt")));
    // The run ends before the answer is saved.
    b.Restart();
    QCOMPARE(b.Control<QLabel>(1005)->text(), QString("00-00-05"));
    QCOMPARE(Read(b.File("mac_data_file.txt")), QString("5\n5038\n"));
    QVERIFY(!QFile::exists(b.File("mac_in_flight.txt")));
    // A saved write leaves nothing in flight, and a start changes nothing.
    b.page->OnMacWrite();
    QCOMPARE(b.SentMac(), QString("005038000005"));
    b.Answer(0);
    QVERIFY(!QFile::exists(b.File("mac_in_flight.txt")));
    b.Restart();
    QCOMPARE(Read(b.File("mac_data_file.txt")), QString("9\n5038\n"));
  }

  void aCounterThatCannotBeSavedStopsTheSuccessAndAFailedLogDoesNot() {
    Bench b;
    // A folder where the new counter would be written aside.
    QVERIFY(QDir().mkpath(b.File("mac_data_file.txt.new")));
    b.page->OnMacWrite();
    b.Answer(0);
    QCOMPARE(b.Status(), QString("Failed(100) Error"));
    QVERIFY(!QFile::exists(b.KeyboardLog()));
    QVERIFY(!b.page->session().RebootTimerActive());
    QCOMPARE(b.Control<QLabel>(1005)->text(), QString("00-00-01"));
    QVERIFY(QDir().rmdir(b.File("mac_data_file.txt.new")));

    // The log cannot be opened: the write still counts.
    QVERIFY(QDir().mkpath(b.KeyboardLog()));
    b.page->OnMacWrite();
    b.Answer(0);
    QCOMPARE(b.Status(), QString("Success Mac Writing (system is rebooting)"));
    QCOMPARE(b.beeper.warnings, 6);
    QCOMPARE(b.Control<QLabel>(1011)->text(), QString("005038000001"));
    QCOMPARE(Read(b.File("mac_data_file.txt")), QString("5\n5038\n"));

    // A write whose address cannot be kept in flight does not go out.
    QVERIFY(QDir().mkpath(b.File("mac_in_flight.txt.new")));
    const qsizetype sentBefore = b.sent.size();
    b.page->OnMacWrite();
    QCOMPARE(b.sent.size(), sentBefore);
    QCOMPARE(b.Status(), QString("Failed(100) Error"));
    QVERIFY(!b.page->session().macWritePending);
  }

  void anUnknownTypeKeepsTheCounterAndStillSucceeds() {
    Bench b("G : default");
    b.page->OnMacWrite();
    b.prompter.Expect({"Invalid Type String G : default", " Invalid Device Type"});
    b.Answer(0);
    QVERIFY(b.prompter.Pending().isEmpty());
    QCOMPARE(b.Status(), QString("Success Mac Writing (system is rebooting)"));
    QVERIFY(!QFile::exists(b.File("mac_data_file.txt")));
    QCOMPARE(b.Control<QLabel>(1005)->text(), QString("00-00-01"));
  }

  void theSetupDialogTakesHyphensAndAnEmptyHalfKeepsItsValue() {
    Bench b;
    b.prompter.onDialog = [](QDialog& dialog) {
      auto* company = ById<QLineEdit>(dialog, 1008);
      auto* id = ById<QLineEdit>(dialog, 1009);
      if (company->text() != "005038" || id->text() != "000001") return int(QDialog::Rejected);
      if (dialog.windowTitle() != "Mac Address Setup" || company->maxLength() != 6)
        return int(QDialog::Rejected);
      company->clear();
      id->setText("12-34");
      dialog.accept();
      return dialog.result();
    };
    b.page->OnMacSetup();
    QCOMPARE(Read(b.File("mac_data_file.txt")), QString("1234\n5038\n"));
    QCOMPARE(b.Control<QLabel>(1005)->text(), QString("00-12-34"));
    QCOMPARE(b.Control<QLabel>(1004)->text(), QString("00-50-38"));
    // Cancel changes nothing.
    b.prompter.onDialog = [](QDialog& dialog) {
      ById<QLineEdit>(dialog, 1009)->setText("999999");
      dialog.reject();
      return dialog.result();
    };
    b.page->OnMacSetup();
    QCOMPARE(Read(b.File("mac_data_file.txt")), QString("1234\n5038\n"));
    // A setup address off the grid keeps its remainder through the steps.
    b.page->OnMacWrite();
    b.Answer(0);
    QCOMPARE(Read(b.File("mac_data_file.txt")), QString("1238\n5038\n"));
  }

  void theLabelListAndTheLogViewerOpenTheirFiles() {
    Bench b;
    b.Control<QComboBox>(1096)->setCurrentIndex(3);
    b.page->OnMakeLabel();
    const QString labels = b.File("mac_label.txt");
    const QStringList lines = Read(labels).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 100000);
    QCOMPARE(lines.mid(0, 3),
             (QStringList{"00:50:38:00:00:01", "00:50:38:00:00:05", "00:50:38:00:00:09"}));
    QCOMPARE(b.launcher.started.last(), (QStringList{"open", labels}));
    b.page->OnLogViewer();
    QCOMPARE(b.launcher.started.last(), (QStringList{"open", b.KeyboardLog()}));
    b.page->OnBarcodeMode();
    b.page->OnLogViewer();
    QCOMPARE(b.launcher.started.last(), (QStringList{"open", b.BarcodeLog()}));
  }
};

QTEST_MAIN(MacWriterPageTest)
#include "mac_writer_page_test.moc"

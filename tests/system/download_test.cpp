// Downloads from virtual modules: the bytes that land in the file, the end of
// each kind, the texts of flash status and errors mixed into the stream, and
// the guards before anything is sent.
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QtTest/QTest>
#include <memory>

#include "admin/config_page.h"
#include "admin/download_store.h"
#include "admin/file_download.h"
#include "controls/cell_color_list.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

QByteArray Pattern(int size) {
  QByteArray out(size, '\0');
  for (int i = 0; i < size; ++i) out[i] = static_cast<char>(i * 11 + i / 253);
  return out;
}

QByteArray Read(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
}

// A window beside modsim, the first row selected.
struct Bench {
  explicit Bench(const QStringList& arguments) : sim(arguments) {}
  bool Start() {
    if (!sim.Start() || !w.dialog.OnInitDialog()) return false;
    if (!QTest::qWaitFor([&] { return w.dialog.ModuleList().RowCount() >= 1; }, 5000)) return false;
    w.dialog.SelectRow(0);
    return true;
  }
  // Runs Get Configuration for kind into path, the closing box expected.
  void Get(int kind, const QString& path, const QString& box) {
    w.prompter.onDialog = [kind](QDialog& dialog) {
      dialog.findChild<QComboBox*>()->setCurrentIndex(kind);
      dialog.accept();
      return dialog.result();
    };
    w.prompter.fileNames.enqueue(path);
    w.prompter.Expect({box});
    w.dialog.configPage->OnGetConfiguration();
  }
  bool Ended() {
    return QTest::qWaitFor([&] { return w.prompter.Pending().isEmpty(); }, 10000);
  }
  QString Status() { return w.dialog.configPage->OperationStatus(); }

  ModSim sim;
  LabWindow w;
};

const QString kDone = "Getting config file is well done...";

}  // namespace

class DownloadTest : public QObject {
  Q_OBJECT

 private slots:
  void configurationLogAndLogoArriveByteForByte() {
    QTemporaryDir dir;
    const QByteArray config = Pattern(65536), logo = "GIF89a" + Pattern(3000);
    const QByteArray log = "boot\nline two\r\nend\n";
    for (const auto& [name, bytes] :
         {std::pair{"c.bin", config}, {"l.txt", log}, {"g.gif", logo}}) {
      QFile file(dir.filePath(name));
      QVERIFY(file.open(QIODevice::WriteOnly));
      file.write(bytes);
    }
    Bench b({"--serve-config", dir.filePath("c.bin"), "--serve-log", dir.filePath("l.txt"),
             "--serve-logo", dir.filePath("g.gif")});
    QVERIFY(b.Start());
    CMainDlg& d = b.w.dialog;

    const QString path = b.w.dir.filePath("got.bin");
    b.Get(0, path, kDone);
    QVERIFY(b.Ended());
    QCOMPARE(Read(path), config);
    QCOMPARE(b.Status(), QString("Job is well done..."));
    QCOMPARE(d.ModuleList().GetCellBackground(0, 0), kCellWhite);
    QCOMPARE(b.w.beeper.beeps, 1);
    QCOMPARE(b.sim.FramesOf(50).size(), 1);

    // Into the same path again: a fresh file, not a second copy behind the first.
    b.Get(0, path, kDone);
    QVERIFY(b.Ended());
    QCOMPARE(Read(path), config);

    b.Get(1, b.w.dir.filePath("sys_log.txt"), "Getting system log file is well done");
    QVERIFY(b.Ended());
    QCOMPARE(Read(b.w.dir.filePath("sys_log.txt")), log);

    b.Get(2, b.w.dir.filePath("logo.gif"), "Getting  company logo file is well done");
    QVERIFY(b.Ended());
    QCOMPARE(Read(b.w.dir.filePath("logo.gif")), logo);
    QCOMPARE(b.w.beeper.beeps, 4);
    QCOMPARE(b.w.prompter.unexpected, 0);

    // Late answers after the end are not stored.
    QFile::remove(path);
    QByteArray late(1225, '\0');
    late[frame::kCommand] = static_cast<char>(frame::kAnsConfigBlock);
    d.fileDownload().OnConfigAnswer(late);
    QVERIFY(!QFile::exists(path));
  }

  void aConfigurationOfTheWrongSizeAndAModuleWithoutALogo() {
    Bench b({"--config-size", "65535"});
    QVERIFY(b.Start());
    const QString text = "Error : config file size error, try again";
    const QString path = b.w.dir.filePath("short.bin");
    b.Get(0, path, text);
    QVERIFY(b.Ended());
    QCOMPARE(b.Status(), text);
    QCOMPARE(Read(path).size(), 65535);

    b.Get(2, b.w.dir.filePath("none.gif"), " Logo file no exist at the module");
    QVERIFY(b.Ended());
    QVERIFY(!QFile::exists(b.w.dir.filePath("none.gif")));
    QCOMPARE(b.w.prompter.unexpected, 0);
  }

  void statusAndErrorsInTheStreamAreShownAndRepeatsDropped() {
    Bench b({"--data-mix", "repeat,14=02030011,16,20,swap", "--config-size", "65536"});
    QVERIFY(b.Start());
    QStringList texts;
    QList<std::uint32_t> colors;
    connect(&b.w.dialog.fileDownload(), &FileDownload::ModuleStatus, this, [&] {
      texts << b.Status();
      colors << b.w.dialog.ModuleList().GetCellBackground(0, 0);
    });
    const QString path = b.w.dir.filePath("mixed.bin");
    b.Get(0, path, kDone);
    QVERIFY(b.Ended());
    QCOMPARE(texts.mid(0, 6),
             (QStringList{"working seq#=0", "Flash write... : file system sector=17",
                          "Error code 16 seq#=32769", "Set function fail(14)", "working seq#=2",
                          "working seq#=1"}));
    QCOMPARE(texts.size(), 66 + 3 + 1);
    QCOMPARE(texts.last(), QString("Job is well done..."));
    // The sender's name cell blinks block by block and turns white at the end.
    for (int i = 0; i + 1 < colors.size(); ++i)
      QCOMPARE(colors[i], i % 2 == 0 ? kCellBlinkOn : kCellBlinkOff);
    QCOMPARE(colors.last(), kCellWhite);

    // The file takes the order of arrival; the repeat right behind its block
    // is not in it.
    QByteArray expected(65536, '\0');
    for (int i = 0; i < 65536; ++i) expected[i] = static_cast<char>(i * 13 + 7);
    const QByteArray got = Read(path);
    QCOMPARE(got.size(), 65536);
    QCOMPARE(got.mid(0, 1000), expected.mid(0, 1000));
    QCOMPARE(got.mid(1000, 1000), expected.mid(2000, 1000));
    QCOMPARE(got.mid(2000, 1000), expected.mid(1000, 1000));
    QCOMPARE(got.mid(3000), expected.mid(3000));
  }

  void theGuardsComeBeforeAnythingIsSent() {
    Bench b({"--count", "2", "--models", "730,740P"});
    QVERIFY(b.Start());
    CMainDlg& d = b.w.dialog;
    ScriptedPrompter& p = b.w.prompter;
    d.OnFindDevices();  // no row selected
    QTRY_COMPARE(d.ModuleList().RowCount(), 2);
    p.Expect({"Module is not selected at the list, Please select module first!!!"});
    d.configPage->OnGetConfiguration();
    d.SelectRow(1);
    // Even the log of a 740P row is refused, before any dialog.
    p.Expect({" Not supported module type"});
    d.configPage->OnGetConfiguration();
    d.SelectRow(0);
    d.modules().selectedFirmwareMajor = 2;
    p.Expect({" This function supports module firmware version 3.0 above"});
    d.configPage->OnGetConfiguration();
    d.modules().selectedFirmwareMajor = 3;
    // A cancelled save dialog sends nothing either.
    p.onDialog = [](QDialog& dialog) {
      dialog.accept();
      return dialog.result();
    };
    p.fileNames.enqueue(QString());
    d.configPage->OnGetConfiguration();
    QVERIFY(SearchBehind(b.w, b.sim));
    QCOMPARE(b.sim.FramesOf(50).size(), 0);
    QVERIFY(p.Pending().isEmpty());
    QCOMPARE(p.unexpected, 0);
  }
};

TORVEK_LAB_MAIN(DownloadTest)
#include "download_test.moc"

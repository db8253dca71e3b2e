// Keys and clicks from outside the program, through a real X server of the
// test's own (Xvfb) and xdotool, as an operator's keyboard and mouse deliver
// them: every address control of the IP page, and the Mac Writer's mode
// chosen by the keyboard.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest/QTest>
#include <cstdio>
#include <string>

#include "admin/config_page.h"
#include "app/main_dialog.h"
#include "control_by_id.h"
#include "controls/ip_address_ctrl.h"
#include "production/mac_writer_page.h"
#include "scripted_prompter.h"

using namespace torvek;
using torvek::test::ById;

namespace {

// An Xvfb on a display number it picks itself; it ends with the test, or
// with the test's process should that die first.
class XServer {
 public:
  ~XServer() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
  }
  bool Start() {
    int fds[2];
    if (pipe(fds) != 0) return false;
    pid_ = fork();
    if (pid_ < 0) return false;
    if (pid_ == 0) {
      close(fds[0]);
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      const int quiet = open("/dev/null", O_WRONLY);
      dup2(quiet, STDOUT_FILENO);
      dup2(quiet, STDERR_FILENO);
      const std::string fd = std::to_string(fds[1]);
      execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-nolisten", "tcp", "-noreset", "-screen",
             "0", "1024x768x24", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(fds[1]);
    // The server writes its display number once it takes connections.
    std::string out;
    pollfd ready{fds[0], POLLIN, 0};
    while (out.find('\n') == std::string::npos && poll(&ready, 1, 30000) > 0) {
      char buffer[32];
      const ssize_t n = read(fds[0], buffer, sizeof buffer);
      if (n <= 0) break;
      out.append(buffer, static_cast<std::size_t>(n));
    }
    close(fds[0]);
    if (out.find('\n') == std::string::npos) return false;
    display_ = ":" + out.substr(0, out.find('\n'));
    return true;
  }
  const std::string& Display() const { return display_; }

 private:
  pid_t pid_ = -1;
  std::string display_;
};

bool Xdo(const QStringList& args) {
  QProcess xdo;
  xdo.start("xdotool", args);
  if (!xdo.waitForFinished(15000) || xdo.exitCode() != 0) {
    std::fprintf(stderr, "xdotool %s: %s\n", qPrintable(args.join(' ')),
                 xdo.readAllStandardError().constData());
    return false;
  }
  return true;
}

bool ClickAt(QWidget* w, QPoint local, int button = 1, int count = 1) {
  const QPoint at = w->mapToGlobal(local);
  return Xdo({"mousemove", "--sync", QString::number(at.x()), QString::number(at.y()), "click",
              "--repeat", QString::number(count), "--delay", "60", QString::number(button)});
}

bool Type(const QString& text) { return Xdo({"type", "--delay", "15", "--", text}); }
bool Key(const QString& key) { return Xdo({"key", "--delay", "15", key}); }

void Settle() { QTest::qWait(50); }

}  // namespace

class X11InputTest : public QObject, test::OfflinePlatform {
  Q_OBJECT

  std::unique_ptr<CMainDlg> main_;
  std::unique_ptr<CConfigPage> page_;
  QList<CIpAddressCtrl*> addresses_;

 private slots:
  void initTestCase() {
    main_ = std::make_unique<CMainDlg>(platform);
    page_ = std::make_unique<CConfigPage>(main_->ConfigPageLinks());
    // The WAN column opens with its address type; here every control is typed into.
    addresses_ = page_->findChildren<CIpAddressCtrl*>();
    QCOMPARE(addresses_.size(), 6);
    for (CIpAddressCtrl* a : addresses_) a->setEnabled(true);
    page_->move(40, 40);
    page_->show();
    page_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(page_.get()));
  }

  void cleanupTestCase() {
    page_.reset();
    main_.reset();
  }

  void typedAddressesReplaceWhatTheControlHeld() {
    for (CIpAddressCtrl* a : addresses_) {
      const QString name = a->accessibleName();
      // The first field's number selected by a double-click, then the whole address.
      a->SetText("192.168.1.2");
      QVERIFY(ClickAt(a->Field(0), a->Field(0)->rect().center(), 1, 2));
      QTRY_VERIFY2(a->Field(0)->hasSelectedText(), qPrintable(name));
      QVERIFY(Type("192.168.77.36"));
      QTRY_COMPARE(a->Text(), QString("192.168.77.36"));
      // The caret after a full first field: the address typed from there.
      QVERIFY(ClickAt(a->Field(0), QPoint(a->Field(0)->width() - 2, a->height() / 2)));
      QTRY_COMPARE(QApplication::focusWidget(), a->Field(0));
      QVERIFY(Type("10.1.2.3"));
      QTRY_COMPARE(a->Text(), QString("10.1.2.3"));
    }
  }

  void aFieldOverItsLimitBecomes255WithABeep() {
    CIpAddressCtrl* a = addresses_.first();
    a->SetText("");
    QVERIFY(ClickAt(a->Field(1), a->Field(1)->rect().center()));
    QTRY_COMPARE(QApplication::focusWidget(), a->Field(1));
    const int before = beeper.beeps;
    QVERIFY(Type("300.7"));
    QTRY_COMPARE(a->Text(), QString(".255.7."));
    QCOMPARE(beeper.beeps, before + 1);
  }

  void pastedAddressesFillTheFourFields() {
    for (CIpAddressCtrl* a : addresses_) {
      a->SetText("1.1.1.1");
      QGuiApplication::clipboard()->setText("10.20.30.40");
      QVERIFY(ClickAt(a->Field(2), a->Field(2)->rect().center()));
      QTRY_COMPARE(QApplication::focusWidget(), a->Field(2));
      QVERIFY(Key("ctrl+v"));
      QTRY_COMPARE(a->Text(), QString("10.20.30.40"));
    }
    // The X selection, by a middle click.
    CIpAddressCtrl* a = addresses_.last();
    QGuiApplication::clipboard()->setText(" 172.16.0.9 ", QClipboard::Selection);
    QVERIFY(ClickAt(a->Field(0), a->Field(0)->rect().center(), 2));
    QTRY_COMPARE(a->Text(), QString("172.16.0.9"));
  }

  void aClickOnADotFocusesTheControl() {
    auto* setButton = ById<QPushButton>(*page_, 1016);
    for (CIpAddressCtrl* a : addresses_) {
      setButton->setFocus();
      const QList<QLabel*> dots = a->findChildren<QLabel*>();
      QCOMPARE(dots.size(), 3);
      QLabel* dot = dots[1];
      QVERIFY(ClickAt(a, dot->geometry().center()));
      QTRY_VERIFY(QApplication::focusWidget() == a->Field(1) ||
                  QApplication::focusWidget() == a->Field(2));
    }
  }

  void backspaceInAnEmptyFieldGoesBack() {
    CIpAddressCtrl* a = addresses_.first();
    a->SetText("1.2..4");
    QVERIFY(ClickAt(a->Field(2), a->Field(2)->rect().center()));
    QTRY_COMPARE(QApplication::focusWidget(), a->Field(2));
    QVERIFY(Key("BackSpace"));
    QTRY_COMPARE(QApplication::focusWidget(), a->Field(1));
    QVERIFY(Key("BackSpace"));
    QTRY_COMPARE(a->Text(), QString("1...4"));
  }

  // The Barcode Reader mode chosen with the arrow keys; the scanner is a keyboard.
  void aBarcodeModeChosenByKeyboardWritesTheScannedAddress() {
    struct Rig : SearchingSender {
      QList<QByteArray> sent;
      bool SendFrameAndSearch(std::uint8_t* frame) override {
        sent << QByteArray(reinterpret_cast<const char*>(frame), 1225);
        return true;
      }
      void StartSearch() override {}
    } rig;
    const MacAddress pcMac{};
    ModuleDirectory selection;
    selection.selectedRow = 0;
    selection.selectedModuleMac = {0x00, 0x0E, 0xE3, 0x00, 0x00, 0x01};
    selection.selectedModuleType = "740:ap";
    CMacWriterPage page(MacWriterLinks{platform, dir.path() + "/", pcMac, selection, rig});
    page.OnInitDialog();
    page.move(40, 40);
    page.show();
    page.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&page));
    auto* manual = ById<QRadioButton>(page, 1007);
    manual->setFocus();
    QTRY_VERIFY(manual->hasFocus());
    QVERIFY(Key("Left"));
    QTRY_VERIFY(ById<QRadioButton>(page, 1003)->isChecked());
    auto* mac = ById<QLineEdit>(page, 1008);
    QVERIFY(ClickAt(mac, mac->rect().center()));
    QTRY_VERIFY(mac->hasFocus());
    QVERIFY(Type("0050AbCDef01SN12345678901"));
    QTRY_VERIFY(ById<QPushButton>(page, 1000)->hasFocus());
    QVERIFY(Key("Return"));
    QTRY_COMPARE(rig.sent.size(), 1);
    QCOMPARE(QString(rig.sent.last().mid(23, 6).toHex()), QString("0050abcdef01"));
    Settle();
  }
};

int main(int argc, char** argv) {
  XServer server;
  if (!server.Start()) {
    std::fprintf(stderr, "Xvfb did not start (is it installed? scripts/deps)\n");
    return 1;
  }
  qputenv("DISPLAY", server.Display().c_str());
  qputenv("QT_QPA_PLATFORM", "xcb");
  QApplication app(argc, argv);
  X11InputTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "x11_input_test.moc"

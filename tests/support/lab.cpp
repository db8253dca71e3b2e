#include "lab.h"

#include <sys/stat.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QUuid>
#include <cstdio>
#include <cstdlib>

#ifndef TORVEK_SOURCE_DIR
#error TORVEK_SOURCE_DIR must be defined
#endif

namespace torvek::test {

bool InsideLab() {
  struct stat self {};
  struct stat lab {};
  if (::stat("/proc/self/ns/net", &self) != 0) return false;
  if (::stat("/run/netns/tvk-pc", &lab) != 0) return false;
  return self.st_ino == lab.st_ino && self.st_dev == lab.st_dev;
}

void RequireLab() {
  if (InsideLab()) return;
  std::fprintf(stderr,
               "FAIL: this test opens a management socket and must run inside the lab "
               "(scripts/lab pc ...); refusing to run here.\n");
  std::exit(1);
}

QString SourceDir() { return QStringLiteral(TORVEK_SOURCE_DIR); }
QString BinDir() { return QCoreApplication::applicationDirPath(); }

ModSim::ModSim(QStringList arguments) : arguments_(std::move(arguments)) {
  const QString tag = QUuid::createUuid().toString(QUuid::Id128).left(12);
  logPath = QDir::tempPath() + "/modsim-" + tag + ".log";
  readyPath_ = QDir::tempPath() + "/modsim-" + tag + ".ready";
}

ModSim::~ModSim() {
  Stop();
  QFile::remove(logPath);
  QFile::remove(readyPath_);
}

bool ModSim::Start(int timeoutMs) {
  QStringList args{"lan",     BinDir() + "/torvek-modsim",
                   "--quiet", "--lifetime",
                   "300",     "--log",
                   logPath,   "--ready",
                   readyPath_};
  args += arguments_;
  if (!process_.Start(SourceDir() + "/scripts/lab", args)) return false;
  for (int waited = 0; waited < timeoutMs; waited += 10) {
    if (QFile::exists(readyPath_)) return true;
    if (!process_.Running()) return false;
    QThread::msleep(10);
  }
  return false;
}

void ModSim::Stop() { process_.Stop(); }

QStringList ModSim::LoggedFrames() const {
  QFile file(logPath);
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QString::fromLatin1(file.readAll()).split('\n', Qt::SkipEmptyParts);
}

QStringList ModSim::FramesOf(int command) const {
  QStringList out;
  for (const QString& line : LoggedFrames()) {
    const QStringList parts = line.split(' ');
    if (parts.size() >= 3 && parts[2].mid(4, 2).toInt(nullptr, 16) == command)
      out << parts.mid(1).join(' ');
  }
  return out;
}

int RunOnLan(const QStringList& command, int timeoutMs) {
  ChildProcess process;
  if (!process.Start(SourceDir() + "/scripts/lab", QStringList{"lan"} + command)) return -1;
  if (!process.WaitForFinished(timeoutMs)) {
    process.Kill();
    return -1;
  }
  return process.ExitCode();
}

}  // namespace torvek::test

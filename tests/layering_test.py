#!/usr/bin/env python3
"""Guards the layers of src/: prints each breach as file:line and fails.

- No Qt include in a source of torvek_logic, nor in any header of src/ that
  such a source reaches through its includes.
- core/ includes nothing from the folders above it (admin/, terminals/,
  upgrade/, production/, app/) and no widget or GUI header: it is the
  data path that the window and the programs beside it share.
- No theMainDlg: the window is built and handed on, never looked up.
- No source over 800 lines; the window's own file stays a router (250).
- The standard-library-only folders beside src/ (the TFTP protocol) include
  no Qt header and nothing from outside their own folder, and link nothing.

Usage: layering_test.py SRC_DIR
"""
import pathlib
import re
import sys

ABOVE_CORE = ("admin/", "terminals/", "upgrade/", "production/", "app/")
# Headers of Qt Widgets and Qt Gui that a service must not need.
GUI_HEADER = re.compile(
    r"^(QtWidgets|QtGui|QApplication|QGuiApplication|QWidget|QDialog|QMessageBox|QAction|"
    r"QIcon|QPixmap|QPainter|QColor|QFont\w*|QCursor|QScreen|QKeyEvent|QMouseEvent|QPalette|"
    r"QAbstractItemView|QTableView|QHeaderView|QLabel|QLineEdit|QComboBox|QPushButton|"
    r"QCheckBox|QRadioButton|QTabWidget|QPlainTextEdit|QFileDialog|ui_\w+\.h)(/|$)")
MAX_LINES = 800
WINDOW_FILE = "app/main_dialog.cpp"
WINDOW_MAX_LINES = 250

# Folders beside src/, relative to the project, that build a library of the
# standard library alone.
STD_ONLY_FOLDERS = ["tools/tftp/protocol"]

SOURCE_SUFFIXES = {".h", ".hpp", ".cpp", ".cc"}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
QT_HEADER = re.compile(r"^(Q|q\w*\.h$)")
CMAKE_KEYWORDS = {
    "STATIC", "SHARED", "OBJECT", "MODULE", "INTERFACE", "PUBLIC", "PRIVATE",
    "EXCLUDE_FROM_ALL", "FILE_SET", "TYPE", "BASE_DIRS", "FILES", "HEADERS",
}

failures = []
logic_count = 0
ROOT = pathlib.Path("/")


def fail(path, line, what):
    path = pathlib.Path(path)
    shown = path.relative_to(ROOT) if ROOT in path.parents else path
    failures.append(f"{shown}:{line}: {what}")


def logic_sources(src):
    """Every file that an add_library(torvek_logic or target_sources(torvek_logic
    block lists, in any CMakeLists.txt under src/."""
    block = re.compile(r"\b(add_library|target_sources)\s*\(\s*torvek_logic\b([^)]*)\)", re.I)
    sources = []
    for cmake in sorted(src.rglob("CMakeLists.txt")):
        text = re.sub(r"#[^\n]*", "", cmake.read_text())
        for match in block.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            for token in match.group(2).split():
                token = token.strip('"')
                if token in CMAKE_KEYWORDS or token.startswith("$<"):
                    continue
                for var in ("${CMAKE_CURRENT_SOURCE_DIR}", "${CMAKE_CURRENT_LIST_DIR}"):
                    token = token.replace(var, str(cmake.parent))
                if "${" in token:
                    fail(cmake, line, f"cannot follow '{token}' in the sources of torvek_logic")
                    continue
                path = (cmake.parent / token).resolve()
                if not path.is_file():
                    fail(cmake, line, f"torvek_logic source {token} does not exist")
                    continue
                sources.append(path)
    if not sources:
        fail(src / "CMakeLists.txt", 1, "found no sources of torvek_logic")
    return sources


def includes(path):
    for number, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            yield number, match.group(1), match.group(2)


def resolve(src, including, quote, name):
    """The file of src/ that an include names, or None (system, Qt, generated)."""
    candidates = [src / name]
    if quote == '"':
        candidates.insert(0, including.parent / name)
    for candidate in candidates:
        if candidate.is_file():
            return candidate.resolve()
    return None


def check_logic_has_no_qt(src):
    seen = set()
    todo = logic_sources(src)
    global logic_count
    logic_count = len(todo)
    while todo:
        path = todo.pop()
        if path in seen:
            continue
        seen.add(path)
        for number, quote, name in includes(path):
            if QT_HEADER.match(name):
                fail(path, number, f"Qt include <{name}> in the logic")
                continue
            header = resolve(src, path, quote, name)
            if header is not None and src in header.parents:
                todo.append(header)


def check_core_includes_nothing_above(src):
    for path in sorted((src / "core").rglob("*")):
        if path.suffix not in SOURCE_SUFFIXES:
            continue
        for number, quote, name in includes(path):
            if name.startswith(ABOVE_CORE):
                fail(path, number, f"core includes {name} from above it")
            elif GUI_HEADER.match(name):
                fail(path, number, f"core includes the widget or GUI header {name}")


def check_sizes(src):
    for path in sorted(src.rglob("*")):
        if path.suffix not in SOURCE_SUFFIXES:
            continue
        lines = path.read_text(errors="replace").count("\n")
        limit = WINDOW_MAX_LINES if path.relative_to(src).as_posix() == WINDOW_FILE else MAX_LINES
        if lines > limit:
            fail(path, lines, f"{lines} lines, more than {limit}")


def strip_comments(text):
    """Comments blanked, line breaks kept, so that line numbers hold."""
    text = re.sub(r"/\*.*?\*/", lambda m: re.sub(r"[^\n]", " ", m.group(0)), text, flags=re.S)
    return re.sub(r"//[^\n]*", "", text)


def check_the_main_dlg(src):
    word = re.compile(r"\btheMainDlg\b")
    for path in sorted(src.rglob("*")):
        if path.suffix not in SOURCE_SUFFIXES:
            continue
        code = strip_comments(path.read_text(errors="replace"))
        for number, line in enumerate(code.splitlines(), 1):
            if word.search(line):
                fail(path, number, "theMainDlg: hand the window on instead")


def check_std_only_folders(project):
    for relative in STD_ONLY_FOLDERS:
        folder = project / relative
        sources = [p for p in sorted(folder.rglob("*")) if p.suffix in SOURCE_SUFFIXES]
        if not sources:
            fail(folder, 0, "listed as a standard-library-only folder but holds no source")
        for path in sources:
            for number, quote, name in includes(path):
                if QT_HEADER.match(name):
                    fail(path, number, f"Qt include <{name}> in {relative}")
                elif quote == '"' and not (path.parent / name).is_file():
                    fail(path, number, f"{relative} includes {name} from outside its folder")
        cmake = folder / "CMakeLists.txt"
        if cmake.is_file() and re.search(r"\btarget_link_libraries\b", cmake.read_text()):
            fail(cmake, 0, f"{relative} links another library")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    global ROOT
    src = pathlib.Path(sys.argv[1]).resolve()
    ROOT = src.parent
    if not (src / WINDOW_FILE).is_file():
        fail(src / WINDOW_FILE, 0, "named in the layering test but missing: update it")
    check_logic_has_no_qt(src)
    check_core_includes_nothing_above(src)
    check_the_main_dlg(src)
    check_sizes(src)
    check_std_only_folders(src.parent)
    for failure in failures:
        print(failure)
    print(f"{len(failures)} layering violation(s)" if failures else f"layering holds ({logic_count} logic sources)")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

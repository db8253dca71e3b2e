// Finds a control of a template by its numeric id and its kind.
#pragma once

#include <QVariant>
#include <QWidget>

namespace torvek::test {

template <typename T = QWidget>
T* ById(QWidget& root, int id) {
  // Ids are unique within a template only: pages of one window may share one,
  // so the kind asked for decides among them.
  for (T* w : root.findChildren<T*>())
    if (w->property("controlId").toInt() == id) return w;
  return nullptr;
}

}  // namespace torvek::test

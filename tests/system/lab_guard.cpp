// Exits 0 inside the lab and 1 anywhere else; opens no socket.
#include "lab.h"

int main() {
  torvek::test::RequireLab();
  return 0;
}

#include <iostream>

int main(int argc, char** argv) {
  (void)argc;
  (void)argv;
  std::cout << "lomarind\n";
  return 0;
}

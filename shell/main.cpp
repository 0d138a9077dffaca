#include "shell/session_main.h"

int main(int argc, char** argv) { return kestrel::run_kestrel(argc, argv); }

#include "app/runProgram.h"

int main(int argc, char** argv) { return halvercine::app::runProgram(argc, argv); }

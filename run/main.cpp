#include "run/run.h"

int main(int argc, char **argv) {
    chk_run(argc, argv);
}

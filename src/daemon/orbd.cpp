#include "daemon/orb_main.h"

int main(int argc, char **argv) {
    return orb_main(argc, argv);
}

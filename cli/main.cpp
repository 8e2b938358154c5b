#include "cli/Program.h"

int main(int count, char **arguments) {
    return corvane::cli::run({arguments + (count > 0 ? 1 : 0), arguments + count});
}

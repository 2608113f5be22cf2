#include "ctl/program.h"

int main (int argc, char** argv)
{
    return ctl::run (std::vector<std::string> (argv + 1, argv + argc));
}

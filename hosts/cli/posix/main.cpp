#include "../commandline.h"
#include "../system.h"

int main(int argc, char **argv)
{
    CatchInterrupts();
    return RunCommandLine(argc, argv);
}

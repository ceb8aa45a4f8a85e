#include <QApplication>
#include "app/OrvprintDMain.h"

int main(int argc, char** argv)
{
    bool bRun = false;
    const int iCode = HandleCommandLine(std::vector<std::string>(argv + 1, argv + argc), bRun);
    if (!bRun) {
        return iCode;
    }
    QApplication objApp(argc, argv);
    // Closing a dialog must not end the program: it ends on a quit request.
    objApp.setQuitOnLastWindowClosed(false);
    return RunOrvprintD();
}

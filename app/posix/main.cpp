#include <QApplication>
#include "app/AppPlatform.h"
#include "app/OrvprintDMain.h"

int main(int argc, char** argv)
{
    bool bRun = false;
    const int iCode = HandleCommandLine(std::vector<std::string>(argv + 1, argv + argc), bRun);
    if (!bRun) {
        return iCode;
    }
    // Before the first thread starts (Qt's included), so that every thread
    // leaves these signals to the message loop.
    AppPlatform::CatchQuitSignals();
    QApplication objApp(argc, argv);
    // Closing a dialog must not end the program: it ends on a quit request.
    objApp.setQuitOnLastWindowClosed(false);
    return RunOrvprintD();
}

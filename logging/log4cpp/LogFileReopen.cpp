// Log files that went away while the program runs are opened again at their
// configured path. log4cpp's file appenders keep writing into a deleted file,
// and a rolling one stops for good after a roll-over that failed; until
// logging is started again (the next log-on) nothing would be written.
#include "logging/LogFacade.h"

#include <memory>
#include <set>
#include <vector>
#include <log4cpp/Category.hh>
#include <log4cpp/FileAppender.hh>
#include "logging/ErrorState.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/LogFileState.h"
#include "logging/log4cpp/LogState.h"
#include "logging/log4cpp/LogWriteLock.h"

namespace {

// The configured path and the descriptor of a file appender, which log4cpp
// keeps protected.
struct FileAppenderAccess : log4cpp::FileAppender {
    static const std::string& FileName(const log4cpp::FileAppender& appender)
    {
        return appender.*(&FileAppenderAccess::_fileName);
    }
    static int Descriptor(const log4cpp::FileAppender& appender) { return appender.*(&FileAppenderAccess::_fd); }
};

std::set<log4cpp::FileAppender*> AllFileAppenders()
{
    std::set<log4cpp::FileAppender*> setFiles;
    std::unique_ptr<std::vector<log4cpp::Category*>> pCategories(log4cpp::Category::getCurrentCategories());
    if (!pCategories) {
        return setFiles;
    }
    for (log4cpp::Category* pCategory : *pCategories) {
        for (log4cpp::Appender* pAppender : pCategory->getAllAppenders()) {
            if (auto* pFile = dynamic_cast<log4cpp::FileAppender*>(pAppender)) {
                setFiles.insert(pFile);
            }
        }
    }
    return setFiles;
}

} // namespace

int ReopenMissingLogFiles()
{
    if (LogState::IsDisabled()) {
        return 0;
    }
    CallerErrorState errorState;
    int iReopened = 0;
    std::vector<std::pair<std::string, const char*>> vecRefused;
    try {
        for (log4cpp::FileAppender* pFile : AllFileAppenders()) {
            const std::string& strPath = FileAppenderAccess::FileName(*pFile);
            if (strPath.empty()) {
                continue; // made on a descriptor: nothing to reopen
            }
            // The descriptor is read and replaced where no write can use it.
            const auto lock = LogWriteLock::ForReopen();
            if (!LogFileState::IsGone(strPath, FileAppenderAccess::Descriptor(*pFile))) {
                continue;
            }
            // Made again here first, so that what another user may have
            // planted under the name meanwhile is refused, not opened.
            const char* szRefusal = nullptr;
            const int iChecked = LogFileState::OpenChecked(strPath, &szRefusal);
            if (szRefusal) {
                vecRefused.emplace_back(strPath, szRefusal);
                continue;
            }
            if (LogFileState::MakeFolderOf(strPath) && pFile->reopen()) {
                LogFileState::KeepCheckedFile(iChecked, FileAppenderAccess::Descriptor(*pFile));
                ++iReopened;
            }
            LogFileState::CloseChecked(iChecked);
        }
        // Logged once no lock is held: the record is written like any other.
        for (const auto& refused : vecRefused) {
            ORV_LOG_ERROR("%s(%d) : Refused %s: %s", refused.first.c_str(), refused.second);
        }
    } catch (...) {
    }
    return iReopened;
}

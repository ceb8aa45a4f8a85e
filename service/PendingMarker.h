#pragma once

#include "service/ScopedFd.h"
#include <string>
#include <sys/types.h>

namespace OrvService {

// One marker per user, in a folder only root can write (default
// /run/orvprint, or $ORVPRINT_SERVICE_STATE_DIR from the scheduler's
// environment): "pending <receiver>" while a request of that user's job is
// open in OrvprintD, empty otherwise. The root part opens it and holds its
// lock for the whole job, so one job of a user asks at a time; the worker
// (which inherits the open, locked descriptor) marks it before it sends and
// clears it once the request is answered or the receiver is gone.
//
// A marker found pending means that the job which wrote it was ended (even
// with SIGKILL) while its dialog was open: the next job must not send
// before that dialog is answered, or the answer would be taken for its own.
class CPendingMarker {
public:
    static constexpr const char* DEFAULT_FOLDER = "/run/orvprint";
    static constexpr const char* FOLDER_VARIABLE = "ORVPRINT_SERVICE_STATE_DIR";

    CPendingMarker() = default;
    CPendingMarker(const CPendingMarker&) = delete;
    CPendingMarker& operator=(const CPendingMarker&) = delete;

    // Root part: opens (creating them when missing) the folder, 0700, and
    // the user's marker "pending-UID", 0600, never through a link; both must
    // be root's and closed to others. False with the reason.
    bool Open(uid_t uidUser, std::string& strProblem);
    // Takes the marker's lock without waiting; false while another job of
    // the user holds it.
    bool TryLock() const;
    int GetFd() const { return m_objFd.Get(); }
    const std::string& GetPath() const { return m_strPath; }

    // Worker side, on the inherited descriptor.
    // The receiver recorded by a job that was ended while its request was
    // open ("-" when it was not known); empty when none is pending.
    static std::string ReadPending(int iFd);
    static bool MarkPending(int iFd, const std::string& strReceiver);
    static bool Clear(int iFd);

private:
    CScopedFd m_objFd;
    std::string m_strPath;
};

} // namespace OrvService

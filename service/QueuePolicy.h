#pragma once

#include <string>

namespace OrvService {

// Whether the secure queue's operation policy lets only the person who
// sends a job create it. With the stock policy anybody may submit a job in
// another user's name ("lp -U alice"), and that job would be offered to
// alice's OrvprintD as hers.
//
// The queue's policy name comes from the scheduler (printers.conf is written
// lazily); the policy itself from cupsd.conf in the scheduler's ServerRoot
// ($CUPS_SERVERROOT, which cupsd sets for its backends; /etc/cups without
// it), read as cupsd reads it: directives and policy names in any case, '#'
// starts a comment unless escaped, the first <Limit> that names an
// operation rules it, else the first <Limit All>. A <Limit> with none of
// its operations known to CUPS applies to all of them, as in cupsd.
//
// Job creation (Create-Job and Print-Job) requires a real user when the
// <Limit> that rules each of them has an AuthType other than None (Default
// only while DefaultAuthType is not None) and a "Require valid-user", or a
// "Require user"/"Require group" naming somebody besides @OWNER, and has no
// "Satisfy any" and no AuthClass. Without an AuthType cupsd takes the user's
// word (requesting-user-name), so a Require alone is not enough.
class CQueuePolicy {
public:
    // The policy this service installs, and where.
    static const char SECURE_POLICY[];
    static const char POLICY_FILE[];

    enum VERDICT {
        VERDICT_USER_REQUIRED, // every job creation needs an authenticated, real user
        VERDICT_ANYBODY,       // some job creation does not (strDetail says which and why)
        VERDICT_NOT_DEFINED,   // the configuration has no <Policy> of that name
        VERDICT_MALFORMED,     // the policy cannot be read (strDetail: "line N: problem")
    };

    // The verdict on policy strPolicy of a cupsd.conf text.
    static VERDICT Evaluate(const std::string& strConfText, const std::string& strPolicy, std::string& strDetail);

    // $CUPS_SERVERROOT/cupsd.conf, /etc/cups/cupsd.conf without it.
    static std::string ConfPath();

    // Empty when queue strQueue's policy requires a real user for every job
    // creation, else the reason to hold its jobs.
    static std::string Check(const std::string& strQueue);

    // The reason to hold a job of queue strQueue for a verdict other than
    // VERDICT_USER_REQUIRED.
    static std::string Reason(VERDICT eVerdict, const std::string& strQueue, const std::string& strPolicy,
                              const std::string& strConfPath, const std::string& strDetail);
};

} // namespace OrvService

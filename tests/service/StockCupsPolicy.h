#pragma once

// The operation policy "default" of CUPS 2.4's stock cupsd.conf
// (/usr/share/cups/cupsd.conf.default): anybody may create a job, in any
// user's name.

namespace orvtest {

inline const char STOCK_DEFAULT_POLICY[] =
    "<Policy default>\n"
    "  JobPrivateAccess default\n"
    "  JobPrivateValues default\n"
    "  SubscriptionPrivateAccess default\n"
    "  SubscriptionPrivateValues default\n"
    "  <Limit Create-Job Print-Job Print-URI Validate-Job>\n"
    "    Order deny,allow\n"
    "  </Limit>\n"
    "  <Limit Send-Document Send-URI Hold-Job Release-Job Restart-Job Purge-Jobs Set-Job-Attributes "
    "Create-Job-Subscription Renew-Subscription Cancel-Subscription Get-Notifications Reprocess-Job Cancel-Current-Job "
    "Suspend-Current-Job Resume-Job Cancel-My-Jobs Close-Job CUPS-Move-Job>\n"
    "    Require user @OWNER @SYSTEM\n"
    "    Order deny,allow\n"
    "  </Limit>\n"
    "  <Limit CUPS-Get-Document>\n"
    "    AuthType Default\n"
    "    Require user @OWNER @SYSTEM\n"
    "    Order deny,allow\n"
    "  </Limit>\n"
    "  <Limit CUPS-Add-Modify-Printer CUPS-Delete-Printer CUPS-Add-Modify-Class CUPS-Delete-Class CUPS-Set-Default "
    "CUPS-Get-Devices>\n"
    "    AuthType Default\n"
    "    Require user @SYSTEM\n"
    "    Order deny,allow\n"
    "  </Limit>\n"
    "  <Limit Pause-Printer Resume-Printer Enable-Printer Disable-Printer Pause-Printer-After-Current-Job "
    "Hold-New-Jobs Release-Held-New-Jobs Deactivate-Printer Activate-Printer Restart-Printer Shutdown-Printer "
    "Startup-Printer Promote-Job Schedule-Job-After Cancel-Jobs CUPS-Accept-Jobs CUPS-Reject-Jobs>\n"
    "    AuthType Default\n"
    "    Require user @SYSTEM\n"
    "    Order deny,allow\n"
    "  </Limit>\n"
    "  <Limit Cancel-Job CUPS-Authenticate-Job>\n"
    "    Require user @OWNER @SYSTEM\n"
    "    Order deny,allow\n"
    "  </Limit>\n"
    "  <Limit All>\n"
    "    Order deny,allow\n"
    "  </Limit>\n"
    "</Policy>\n";

} // namespace orvtest

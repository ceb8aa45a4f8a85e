#include "service/QueuePolicy.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cups/ipp.h>
#include <fcntl.h>
#include <strings.h>
#include <unistd.h>
#include <vector>
#include "service/ScopedFd.h"
#include "service/SchedulerQuery.h"

namespace OrvService {

const char CQueuePolicy::SECURE_POLICY[] = "orvprint";
const char CQueuePolicy::POLICY_FILE[] = "/usr/share/orvprintd/orvprint-policy.conf";

namespace {

// One line of a CUPS configuration file as cupsd's reader hands it over.
struct CONF_LINE {
    int iLine = 0;
    std::string strDirective;
    std::string strValue;
    bool bBadBracket = false; // "<..." without its closing '>'
};

bool IsSpace(char ch)
{
    return ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r' || ch == '\f' || ch == '\v';
}

bool Same(const std::string& strA, const char* szB)
{
    return strcasecmp(strA.c_str(), szB) == 0;
}

std::vector<std::string> Words(const std::string& strText)
{
    std::vector<std::string> vecWords;
    size_t uiAt = 0;
    for (;;) {
        while (uiAt < strText.size() && IsSpace(strText[uiAt])) {
            ++uiAt;
        }
        if (uiAt >= strText.size()) {
            return vecWords;
        }
        const size_t uiStart = uiAt;
        while (uiAt < strText.size() && !IsSpace(strText[uiAt])) {
            ++uiAt;
        }
        vecWords.push_back(strText.substr(uiStart, uiAt - uiStart));
    }
}

// Splits the text as cupsd's cupsFileGetConf() does: the first '#' starts a
// comment unless a backslash escapes it, leading and trailing white space
// goes, the directive ends at the first white space, and a line that starts
// with '<' loses its closing '>'. Empty lines are left out.
std::vector<CONF_LINE> ConfLines(const std::string& strText)
{
    std::vector<CONF_LINE> vecLines;
    int iLine = 0;
    size_t uiAt = 0;
    while (uiAt < strText.size()) {
        size_t uiEnd = strText.find('\n', uiAt);
        if (uiEnd == std::string::npos) {
            uiEnd = strText.size();
        }
        std::string strLine = strText.substr(uiAt, uiEnd - uiAt);
        uiAt = uiEnd + 1;
        ++iLine;
        const size_t uiHash = strLine.find('#');
        if (uiHash != std::string::npos) {
            if (uiHash > 0 && strLine[uiHash - 1] == '\\') {
                strLine.erase(uiHash - 1, 1);
            } else {
                strLine.erase(uiHash);
            }
        }
        size_t uiFirst = 0;
        while (uiFirst < strLine.size() && IsSpace(strLine[uiFirst])) {
            ++uiFirst;
        }
        size_t uiLast = strLine.size();
        while (uiLast > uiFirst && IsSpace(strLine[uiLast - 1])) {
            --uiLast;
        }
        if (uiFirst == uiLast) {
            continue;
        }
        strLine = strLine.substr(uiFirst, uiLast - uiFirst);
        CONF_LINE stuLine;
        stuLine.iLine = iLine;
        size_t uiSpace = 0;
        while (uiSpace < strLine.size() && !IsSpace(strLine[uiSpace])) {
            ++uiSpace;
        }
        stuLine.strDirective = strLine.substr(0, uiSpace);
        while (uiSpace < strLine.size() && IsSpace(strLine[uiSpace])) {
            ++uiSpace;
        }
        stuLine.strValue = strLine.substr(uiSpace);
        if (strLine[0] == '<' && !stuLine.strValue.empty()) {
            if (stuLine.strValue.back() == '>') {
                stuLine.strValue.pop_back();
                while (!stuLine.strValue.empty() && IsSpace(stuLine.strValue.back())) {
                    stuLine.strValue.pop_back();
                }
            } else {
                stuLine.bBadBracket = true;
            }
        }
        vecLines.push_back(stuLine);
    }
    return vecLines;
}

// One <Limit> of the policy: the operations it names and its lines.
struct LIMIT {
    int iLine = 0;
    std::vector<ipp_op_t> vecOps;
    bool bAll = false;
    std::vector<CONF_LINE> vecLines;
};

// Empty when the <Limit> lets only an authenticated, real user through,
// else why not.
std::string LimitProblem(const LIMIT& stuLimit, const std::string& strDefaultAuthType)
{
    bool bAuthType = false;
    bool bValidUser = false;
    std::vector<std::string> vecNames;
    for (const CONF_LINE& stuLine : stuLimit.vecLines) {
        const std::string strWhere = " (line " + std::to_string(stuLine.iLine) + ")";
        if (Same(stuLine.strDirective, "AuthType")) {
            if (Same(stuLine.strValue, "None")) {
                return "AuthType None" + strWhere;
            }
            if (Same(stuLine.strValue, "Default")) {
                if (Same(strDefaultAuthType, "None")) {
                    return "AuthType Default while DefaultAuthType is None" + strWhere;
                }
            } else if (!Same(stuLine.strValue, "Basic") && !Same(stuLine.strValue, "Negotiate")) {
                return "unknown AuthType " + stuLine.strValue + strWhere;
            }
            bAuthType = true;
        } else if (Same(stuLine.strDirective, "Require")) {
            std::vector<std::string> vecWords = Words(stuLine.strValue);
            if (vecWords.empty()) {
                return "Require without a kind" + strWhere;
            }
            if (Same(vecWords[0], "valid-user")) {
                bValidUser = true;
            } else if (!Same(vecWords[0], "user") && !Same(vecWords[0], "group")) {
                return "unknown Require " + vecWords[0] + strWhere;
            }
            for (size_t i = 1; i < vecWords.size(); ++i) {
                std::string strName = vecWords[i];
                if (strName.size() >= 2 && (strName.front() == '"' || strName.front() == '\'') &&
                    strName.back() == strName.front()) {
                    strName = strName.substr(1, strName.size() - 2);
                }
                vecNames.push_back(strName);
            }
        } else if (Same(stuLine.strDirective, "Satisfy")) {
            if (Same(stuLine.strValue, "any")) {
                return "Satisfy any" + strWhere;
            }
        } else if (Same(stuLine.strDirective, "AuthClass")) {
            return "AuthClass" + strWhere;
        }
    }
    if (!bAuthType) {
        return "no AuthType: the scheduler takes the name the sender gives";
    }
    bool bRealName = false;
    for (const std::string& strName : vecNames) {
        bRealName = bRealName || !Same(strName, "@OWNER");
    }
    if (!bRealName && !(bValidUser && vecNames.empty())) {
        return vecNames.empty() ? "no Require" : "Require names nobody but @OWNER";
    }
    return std::string();
}

} // namespace

CQueuePolicy::VERDICT CQueuePolicy::Evaluate(const std::string& strConfText, const std::string& strPolicy,
                                             std::string& strDetail)
{
    strDetail.clear();
    const std::vector<CONF_LINE> vecLines = ConfLines(strConfText);
    std::string strDefaultAuthType = "Basic";
    bool bFound = false;
    std::vector<LIMIT> vecLimits;
    for (size_t i = 0; i < vecLines.size(); ++i) {
        const CONF_LINE& stuLine = vecLines[i];
        if (Same(stuLine.strDirective, "<Location")) {
            while (i + 1 < vecLines.size() && !Same(vecLines[i + 1].strDirective, "</Location>")) {
                ++i;
            }
            ++i;
            continue;
        }
        if (Same(stuLine.strDirective, "DefaultAuthType")) {
            strDefaultAuthType = stuLine.strValue;
            continue;
        }
        if (!Same(stuLine.strDirective, "<Policy")) {
            continue;
        }
        const bool bThis = !stuLine.bBadBracket && Same(stuLine.strValue, strPolicy.c_str());
        if (bThis && bFound) {
            strDetail = "line " + std::to_string(stuLine.iLine) + ": policy " + strPolicy + " is defined twice";
            return VERDICT_MALFORMED;
        }
        bFound = bFound || bThis;
        bool bClosed = false;
        LIMIT* pOpen = nullptr;
        for (++i; i < vecLines.size(); ++i) {
            const CONF_LINE& stuInner = vecLines[i];
            const std::string strWhere = "line " + std::to_string(stuInner.iLine) + ": ";
            if (Same(stuInner.strDirective, "</Policy>")) {
                if (bThis && pOpen) {
                    strDetail = strWhere + "</Policy> before </Limit>";
                    return VERDICT_MALFORMED;
                }
                bClosed = true;
                break;
            }
            if (!bThis) {
                continue;
            }
            if (Same(stuInner.strDirective, "<Limit")) {
                if (pOpen) {
                    strDetail = strWhere + "<Limit> inside <Limit>";
                    return VERDICT_MALFORMED;
                }
                if (stuInner.strValue.empty() || stuInner.bBadBracket) {
                    strDetail = strWhere + "<Limit> without its operations";
                    return VERDICT_MALFORMED;
                }
                LIMIT stuLimit;
                stuLimit.iLine = stuInner.iLine;
                for (const std::string& strOp : Words(stuInner.strValue)) {
                    if (Same(strOp, "All")) {
                        stuLimit.bAll = true;
                    } else if (ippOpValue(strOp.c_str()) != IPP_OP_CUPS_INVALID) {
                        stuLimit.vecOps.push_back(ippOpValue(strOp.c_str()));
                    }
                }
                // cupsd applies a <Limit> without one known operation to all.
                stuLimit.bAll = stuLimit.bAll || stuLimit.vecOps.empty();
                vecLimits.push_back(stuLimit);
                pOpen = &vecLimits.back();
            } else if (Same(stuInner.strDirective, "</Limit>")) {
                if (!pOpen) {
                    strDetail = strWhere + "</Limit> without <Limit>";
                    return VERDICT_MALFORMED;
                }
                pOpen = nullptr;
            } else if (pOpen) {
                pOpen->vecLines.push_back(stuInner);
            }
        }
        if (bThis && !bClosed) {
            strDetail = "line " + std::to_string(stuLine.iLine) + ": <Policy " + strPolicy + "> without </Policy>";
            return VERDICT_MALFORMED;
        }
    }
    if (!bFound) {
        return VERDICT_NOT_DEFINED;
    }
    for (const ipp_op_t eOp : {IPP_OP_CREATE_JOB, IPP_OP_PRINT_JOB}) {
        const LIMIT* pRule = nullptr;
        for (const LIMIT& stuLimit : vecLimits) {
            for (const ipp_op_t eNamed : stuLimit.vecOps) {
                pRule = !pRule && eNamed == eOp ? &stuLimit : pRule;
            }
        }
        for (const LIMIT& stuLimit : vecLimits) {
            pRule = !pRule && stuLimit.bAll ? &stuLimit : pRule;
        }
        if (!pRule) {
            strDetail = std::string(ippOpString(eOp)) + ": no <Limit> applies";
            return VERDICT_ANYBODY;
        }
        const std::string strProblem = LimitProblem(*pRule, strDefaultAuthType);
        if (!strProblem.empty()) {
            strDetail =
                std::string(ippOpString(eOp)) + ": <Limit> of line " + std::to_string(pRule->iLine) + ": " + strProblem;
            return VERDICT_ANYBODY;
        }
    }
    return VERDICT_USER_REQUIRED;
}

std::string CQueuePolicy::ConfPath()
{
    const char* szRoot = std::getenv("CUPS_SERVERROOT");
    return std::string(szRoot && *szRoot ? szRoot : "/etc/cups") + "/cupsd.conf";
}

std::string CQueuePolicy::Reason(VERDICT eVerdict, const std::string& strQueue, const std::string& strPolicy,
                                 const std::string& strConfPath, const std::string& strDetail)
{
    const std::string strFix = "; add the " + std::string(SECURE_POLICY) + " policy (" + POLICY_FILE +
                               ") to cupsd.conf and run: lpadmin -p " + strQueue +
                               " -o printer-op-policy=" + SECURE_POLICY;
    switch (eVerdict) {
    case VERDICT_USER_REQUIRED:
        return std::string();
    case VERDICT_ANYBODY:
        return "Queue " + strQueue + " lets anybody submit jobs in another user's name (operation policy \"" +
               strPolicy + "\")" + strFix;
    case VERDICT_NOT_DEFINED:
        if (Same(strPolicy, "default")) {
            // Without a <Policy default> cupsd makes its own, which lets
            // anybody create jobs.
            return "Queue " + strQueue + " lets anybody submit jobs in another user's name (operation policy \"" +
                   strPolicy + "\", which " + strConfPath + " does not define: cupsd's built-in one)" + strFix;
        }
        return "Queue " + strQueue + " has operation policy \"" + strPolicy + "\", which " + strConfPath +
               " does not define (cupsd falls back to its default policy)" + strFix;
    case VERDICT_MALFORMED:
    default:
        return "The print service cannot check the operation policy of queue " + strQueue + ": " + strConfPath + ", " +
               strDetail;
    }
}

std::string CQueuePolicy::Check(const std::string& strQueue)
{
    std::string strPolicy;
    std::string strError;
    if (!CSchedulerQuery::PrinterAttribute(strQueue, "printer-op-policy", strPolicy, strError)) {
        return "The print service cannot check the operation policy of queue " + strQueue + ": " + strError;
    }
    const std::string strPath = ConfPath();
    CScopedFd objFile(open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    std::string strText;
    int iError = objFile.IsValid() ? 0 : errno;
    while (iError == 0) {
        char achBuf[16384];
        const ssize_t iRead = read(objFile.Get(), achBuf, sizeof(achBuf));
        if (iRead < 0 && errno == EINTR) {
            continue;
        }
        if (iRead <= 0) {
            iError = iRead < 0 ? errno : 0;
            break;
        }
        strText.append(achBuf, static_cast<size_t>(iRead));
    }
    if (iError != 0) {
        return "The print service cannot check the operation policy of queue " + strQueue + ": " + strPath +
               " cannot be read (" + std::strerror(iError) + ")";
    }
    std::string strDetail;
    const VERDICT eVerdict = Evaluate(strText, strPolicy, strDetail);
    if (eVerdict == VERDICT_ANYBODY) {
        std::fprintf(stderr, "DEBUG: Operation policy \"%s\" of %s: %s\n", strPolicy.c_str(), strPath.c_str(),
                     strDetail.c_str());
    }
    return Reason(eVerdict, strQueue, strPolicy, strPath, strDetail);
}

} // namespace OrvService

#include "service/SchedulerQuery.h"

#include <cups/cups.h>
#include "service/IppMessage.h"
#include "service/SchedulerConnection.h"

namespace OrvService {

namespace {

// Sends the request (consumed) and reads one text attribute of the answer.
bool AskForText(ipp_t* pRequest, const char* szName, std::string& strValue, std::string& strError)
{
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, szName);
    CSchedulerConnection objHttp;
    if (!objHttp.Get()) {
        ippDelete(pRequest);
        strError = std::string("the scheduler at ") + cupsServer() + " cannot be reached";
        return false;
    }
    CIppMessage objResponse(cupsDoRequest(objHttp.Get(), pRequest, "/"));
    if (!objResponse.Get() || ippGetStatusCode(objResponse.Get()) > IPP_STATUS_OK_CONFLICTING) {
        strError = std::string("the scheduler did not answer (") + cupsLastErrorString() + ")";
        return false;
    }
    ipp_attribute_t* pAttr = ippFindAttribute(objResponse.Get(), szName, IPP_TAG_ZERO);
    const char* szValue = pAttr ? ippGetString(pAttr, 0, nullptr) : nullptr;
    if (!szValue) {
        strError = std::string("the scheduler did not report ") + szName;
        return false;
    }
    strValue = szValue;
    return true;
}

} // namespace

bool CSchedulerQuery::PrinterAttribute(const std::string& strQueue, const char* szName, std::string& strValue,
                                       std::string& strError)
{
    char szUri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, szUri, sizeof(szUri), "ipp", nullptr, "localhost", 0, "/printers/%s",
                     strQueue.c_str());
    ipp_t* pRequest = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, szUri);
    return AskForText(pRequest, szName, strValue, strError);
}

bool CSchedulerQuery::JobAttribute(const std::string& strJobId, const char* szName, std::string& strValue,
                                   std::string& strError)
{
    char szUri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, szUri, sizeof(szUri), "ipp", nullptr, "localhost", 0, "/jobs/%s",
                     strJobId.c_str());
    ipp_t* pRequest = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_URI, "job-uri", nullptr, szUri);
    return AskForText(pRequest, szName, strValue, strError);
}

} // namespace OrvService

#include "service/JobForwarder.h"

#include <cerrno>
#include <cstring>
#include <cups/cups.h>
#include <unistd.h>
#include "service/IppMessage.h"
#include "service/SchedulerConnection.h"

namespace OrvService {

namespace {

// Owner of libcups's option list.
class COptionList {
public:
    COptionList() = default;
    ~COptionList() { cupsFreeOptions(m_iCount, m_pOptions); }
    COptionList(const COptionList&) = delete;
    COptionList& operator=(const COptionList&) = delete;

    void Parse(const std::string& strOptions) { m_iCount = cupsParseOptions(strOptions.c_str(), m_iCount, &m_pOptions); }
    void Set(const char* szName, const std::string& strValue)
    {
        m_iCount = cupsAddOption(szName, strValue.c_str(), m_iCount, &m_pOptions);
    }
    void Remove(const char* szName) { m_iCount = cupsRemoveOption(szName, m_iCount, &m_pOptions); }
    int Count() const { return m_iCount; }
    cups_option_t* Get() const { return m_pOptions; }

private:
    int m_iCount = 0;
    cups_option_t* m_pOptions = nullptr;
};

// Print-Job on the queue, as its user: the job and its document in one
// request, one round trip to the scheduler. A request that fails half-way
// leaves no job behind.
ipp_t* NewPrintJob(const std::string& strQueue, const std::string& strTitle, const std::string& strFormat,
                   int iOptions, cups_option_t* pOptions)
{
    char szUri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, szUri, sizeof(szUri), "ipp", nullptr, "localhost", ippPort(), "/printers/%s",
                     strQueue.c_str());
    ipp_t* pRequest = ippNewRequest(IPP_OP_PRINT_JOB);
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, szUri);
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, strTitle.c_str());
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_MIMETYPE, "document-format", nullptr,
                 strFormat.empty() ? CUPS_FORMAT_AUTO : strFormat.c_str());
    cupsEncodeOptions2(pRequest, iOptions, pOptions, IPP_TAG_OPERATION);
    cupsEncodeOptions2(pRequest, iOptions, pOptions, IPP_TAG_JOB);
    cupsEncodeOptions2(pRequest, iOptions, pOptions, IPP_TAG_SUBSCRIPTION);
    return pRequest;
}

} // namespace

bool CJobForwarder::Forward(int iFd, const std::string& strQueue, const JOB& stuJob, int& iNewJobId,
                            std::string& strError)
{
    iNewJobId = 0;
    cupsSetUser(stuJob.strUser.c_str());
    CSchedulerConnection objHttp;
    if (!objHttp.Get()) {
        strError = std::string("cannot reach the scheduler: ") + cupsLastErrorString();
        return false;
    }
    COptionList objOptions;
    objOptions.Parse(stuJob.strOptions);
    // What the scheduler made for the held job is made anew for the new one.
    for (const char* szOwn : {"job-uuid", "job-originating-host-name", "job-authorization-uri"}) {
        objOptions.Remove(szOwn);
    }
    if (stuJob.iCopies > 1) {
        objOptions.Set("copies", std::to_string(stuJob.iCopies));
    } else {
        objOptions.Remove("copies");
    }
    if (stuJob.strBilling.empty()) {
        objOptions.Remove("job-billing");
    } else {
        objOptions.Set("job-billing", stuJob.strBilling);
    }
    if (stuJob.bHold) {
        objOptions.Set("job-hold-until", "indefinite");
    } else {
        objOptions.Remove("job-hold-until");
    }

    const CIppMessage objRequest(
        NewPrintJob(strQueue, stuJob.strTitle, stuJob.strFormat, objOptions.Count(), objOptions.Get()));
    const std::string strResource = "/printers/" + strQueue;
    http_status_t eStatus =
        lseek(iFd, 0, SEEK_SET) == 0
            ? cupsSendRequest(objHttp.Get(), objRequest.Get(), strResource.c_str(), CUPS_LENGTH_VARIABLE)
            : HTTP_STATUS_ERROR;
    char achBuf[65536];
    bool bRead = true;
    while (eStatus == HTTP_STATUS_CONTINUE) {
        const ssize_t iRead = read(iFd, achBuf, sizeof(achBuf));
        if (iRead < 0 && errno == EINTR) {
            continue;
        }
        if (iRead <= 0) {
            bRead = iRead == 0;
            break;
        }
        eStatus = cupsWriteRequestData(objHttp.Get(), achBuf, static_cast<size_t>(iRead));
    }
    if (eStatus != HTTP_STATUS_CONTINUE || !bRead) {
        // The scheduler makes no job of a request it did not get whole.
        strError = bRead ? std::string(cupsLastErrorString())
                         : std::string("the document cannot be read (") + std::strerror(errno) + ")";
        return false;
    }
    const CIppMessage objResponse(cupsGetResponse(objHttp.Get(), strResource.c_str()));
    ipp_attribute_t* pJobId =
        objResponse.Get() ? ippFindAttribute(objResponse.Get(), "job-id", IPP_TAG_INTEGER) : nullptr;
    const int iJobId = pJobId ? ippGetInteger(pJobId, 0) : 0;
    if (!objResponse.Get() || cupsLastError() > IPP_STATUS_OK_CONFLICTING || iJobId <= 0) {
        strError = cupsLastErrorString();
        return false;
    }
    iNewJobId = iJobId;
    return true;
}

} // namespace OrvService

#include "service/JobForwarder.h"

#include <cerrno>
#include <cups/cups.h>
#include <unistd.h>

namespace OrvService {

namespace {

// Owners of libcups's connection and option list.
class CHttpConnection {
public:
    CHttpConnection()
        : m_pHttp(httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, 30000, nullptr))
    {
    }
    ~CHttpConnection()
    {
        if (m_pHttp) {
            httpClose(m_pHttp);
        }
    }
    CHttpConnection(const CHttpConnection&) = delete;
    CHttpConnection& operator=(const CHttpConnection&) = delete;
    http_t* Get() const { return m_pHttp; }

private:
    http_t* m_pHttp;
};

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

// Create-Job on the queue, as its user. Made here rather than with
// cupsCreateJob, which first fetches all of the printer's attributes: one
// round trip to the scheduler less for every job.
int CreateJob(http_t* pHttp, const std::string& strQueue, const std::string& strTitle, int iOptions,
              cups_option_t* pOptions)
{
    char szUri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, szUri, sizeof(szUri), "ipp", nullptr, "localhost", ippPort(), "/printers/%s",
                     strQueue.c_str());
    ipp_t* pRequest = ippNewRequest(IPP_OP_CREATE_JOB);
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, szUri);
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, strTitle.c_str());
    cupsEncodeOptions2(pRequest, iOptions, pOptions, IPP_TAG_OPERATION);
    cupsEncodeOptions2(pRequest, iOptions, pOptions, IPP_TAG_JOB);
    cupsEncodeOptions2(pRequest, iOptions, pOptions, IPP_TAG_SUBSCRIPTION);
    ipp_t* pResponse = cupsDoRequest(pHttp, pRequest, ("/printers/" + strQueue).c_str());
    int iJobId = 0;
    if (pResponse && cupsLastError() <= IPP_STATUS_OK_CONFLICTING) {
        if (ipp_attribute_t* pAttr = ippFindAttribute(pResponse, "job-id", IPP_TAG_INTEGER)) {
            iJobId = ippGetInteger(pAttr, 0);
        }
    }
    ippDelete(pResponse);
    return iJobId;
}

} // namespace

bool CJobForwarder::Forward(int iFd, const std::string& strQueue, const JOB& stuJob, int& iNewJobId,
                            std::string& strError)
{
    iNewJobId = 0;
    cupsSetUser(stuJob.strUser.c_str());
    CHttpConnection objHttp;
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

    const int iJobId = CreateJob(objHttp.Get(), strQueue, stuJob.strTitle, objOptions.Count(), objOptions.Get());
    if (iJobId <= 0) {
        strError = cupsLastErrorString();
        return false;
    }
    const char* szFormat = stuJob.strFormat.empty() ? CUPS_FORMAT_AUTO : stuJob.strFormat.c_str();
    const bool bStarted = cupsStartDocument(objHttp.Get(), strQueue.c_str(), iJobId, stuJob.strTitle.c_str(),
                                            szFormat, 1) == HTTP_STATUS_CONTINUE;
    bool bSent = bStarted && lseek(iFd, 0, SEEK_SET) == 0;
    char achBuf[65536];
    while (bSent) {
        const ssize_t iRead = read(iFd, achBuf, sizeof(achBuf));
        if (iRead < 0 && errno == EINTR) {
            continue;
        }
        if (iRead <= 0) {
            bSent = iRead == 0;
            break;
        }
        bSent = cupsWriteRequestData(objHttp.Get(), achBuf, static_cast<size_t>(iRead)) == HTTP_STATUS_CONTINUE;
    }
    const bool bFinished = bStarted && cupsFinishDocument(objHttp.Get(), strQueue.c_str()) == IPP_STATUS_OK;
    if (!bSent || !bFinished) {
        strError = cupsLastErrorString();
        cupsCancelJob2(objHttp.Get(), strQueue.c_str(), iJobId, 0);
        return false;
    }
    iNewJobId = iJobId;
    return true;
}

} // namespace OrvService

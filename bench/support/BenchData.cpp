// Latency samples and the largest job-option request.
#include "support/BenchSupport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include "Src/Common/include/JobOptionData.h"

namespace orvbench {

double CSamples::PercentileNs(double p) const
{
    if (m_vecNs.empty()) {
        return 0;
    }
    std::vector<int64_t> vecSorted(m_vecNs);
    std::sort(vecSorted.begin(), vecSorted.end());
    const double dRank = p / 100.0 * static_cast<double>(vecSorted.size() - 1);
    const size_t uiLow = static_cast<size_t>(std::floor(dRank));
    const size_t uiHigh = static_cast<size_t>(std::ceil(dRank));
    const double dFraction = dRank - static_cast<double>(uiLow);
    return static_cast<double>(vecSorted[uiLow]) * (1 - dFraction) +
           static_cast<double>(vecSorted[uiHigh]) * dFraction;
}

void CSamples::Report(benchmark::State& state, const std::string& strPrefix) const
{
    state.counters[strPrefix + "p50_us"] = PercentileNs(50) / 1000.0;
    state.counters[strPrefix + "p90_us"] = PercentileNs(90) / 1000.0;
    state.counters[strPrefix + "p99_us"] = PercentileNs(99) / 1000.0;
}

namespace {

std::u16string Number(int iValue)
{
    char szDigits[16];
    std::snprintf(szDigits, sizeof(szDigits), "%03d", iValue);
    std::u16string str;
    for (const char* p = szDigits; *p; ++p) {
        str += static_cast<char16_t>(*p);
    }
    return str;
}

void Copy(char16_t* pDest, size_t uiChars, const std::u16string& strText)
{
    const size_t n = std::min(strText.size(), uiChars - 1);
    for (size_t i = 0; i < n; ++i) {
        pDest[i] = strText[i];
    }
    pDest[n] = u'\0';
}

template <class T>
void Append(std::vector<uint8_t>& vecBuffer, const T& value)
{
    const uint8_t* p = reinterpret_cast<const uint8_t*>(&value);
    vecBuffer.insert(vecBuffer.end(), p, p + sizeof(T));
}

std::vector<uint8_t> BuildLargestRequest()
{
    const int iPrinters = 100;
    const int iProjects = 500;
    std::vector<uint8_t> vecBuffer;
    vecBuffer.reserve(CJobOptionData::MAX_BUFFER_SIZE);

    Append(vecBuffer, static_cast<int32_t>(iPrinters));
    for (int i = 0; i < iPrinters; ++i) {
        CJobOptionData::PRINTER_INFO stu;
        std::memset(&stu, 0, sizeof(stu));
        const std::u16string strNo = Number(i + 1);
        Copy(stu.szPrinterId, 20, u"P" + strNo);
        Copy(stu.szPrinterName, 1024, u"打印机-" + strNo + u" 行政楼" + Number(i % 12 + 1) + u"层 彩色激光");
        if (i % 3 == 0) {
            Copy(stu.szComment, 1024, u"东侧走廊，A3/A4，双面打印，工作日 8:00-20:00 可用");
        }
        Copy(stu.szDescription, 1024, u"HP Color LaserJet Enterprise M" + strNo);
        stu.iStatus = (i % 10 == 3) ? 1 : 0;
        stu.iMaxPagesPerJob = 200;
        stu.iPageTotal = (i % 10 == 7) ? 500 : 12;
        stu.iPrintTaskTotal = 2;
        stu.bTooMayPages = (i % 10 == 7);
        Append(vecBuffer, stu);
    }
    Append(vecBuffer, static_cast<int32_t>(iProjects));
    for (int j = 0; j < iProjects; ++j) {
        CJobOptionData::PROJECT_INFO stu;
        std::memset(&stu, 0, sizeof(stu));
        const std::u16string strNo = Number(j + 1);
        Copy(stu.szProjectId, 20, u"PRJ" + strNo);
        Copy(stu.szProjectName, 1024, u"项目-" + strNo + u" 年度审计与市场推广");
        if (j % 4 == 0) {
            Copy(stu.szComment, 1024, u"财务部");
        }
        Append(vecBuffer, stu);
    }
    return vecBuffer;
}

} // namespace

const std::vector<uint8_t>& LargestRequest()
{
    static const std::vector<uint8_t> s_vecRequest = BuildLargestRequest();
    return s_vecRequest;
}

std::wstring LastPrinterPrefix()
{
    return L"打印机-100";
}

std::wstring LastProjectPrefix()
{
    return L"项目-500";
}

} // namespace orvbench

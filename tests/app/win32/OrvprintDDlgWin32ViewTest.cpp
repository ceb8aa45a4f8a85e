// The Win32 print-option dialog (template 102), shown for real on a thread of
// its own as the popup thread shows it, and driven with window messages.
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>
#include <gtest/gtest.h>
#include "app/AnswerBytes.h"
#include "app/FakeDlgConfig.h"
#include "support/JobRequestBuilder.h"
#include "app/OrvConfig.h"
#include "app/OrvprintDDlg.h"
#include "app/win32/OrvprintDDlgWin32View.h"
#include "app/win32/resource.h"

using orvtest::CFakeDlgConfig;
using orvtest::CJobRequestBuilder;

namespace {

std::wstring WindowText(HWND hWnd)
{
    wchar_t szText[4096] = {0};
    ::GetWindowTextW(hWnd, szText, 4096);
    return szText;
}

std::wstring ListText(HWND hCombo, int iIndex)
{
    wchar_t szText[2048] = {0};
    ::SendMessageW(hCombo, CB_GETLBTEXT, static_cast<WPARAM>(iIndex), reinterpret_cast<LPARAM>(szText));
    return szText;
}

RECT WindowRect(HWND hWnd)
{
    RECT rc;
    ::GetWindowRect(hWnd, &rc);
    return rc;
}

// The pixels of a window's client area, read back from its window surface.
struct CBitmapPixels {
    int cx = 0;
    int cy = 0;
    std::vector<uint32_t> vecPixels; // 0x00RRGGBB, top-down

    COLORREF At(int x, int y) const
    {
        const uint32_t v = vecPixels[static_cast<size_t>(y) * cx + x];
        return RGB((v >> 16) & 0xFF, (v >> 8) & 0xFF, v & 0xFF);
    }
};

CBitmapPixels Capture(HDC hSource, int x, int y, int cx, int cy)
{
    CBitmapPixels pixels;
    pixels.cx = cx;
    pixels.cy = cy;
    pixels.vecPixels.resize(static_cast<size_t>(cx) * cy);
    BITMAPINFO bmi;
    std::memset(&bmi, 0, sizeof(bmi));
    bmi.bmiHeader.biSize = sizeof(bmi.bmiHeader);
    bmi.bmiHeader.biWidth = cx;
    bmi.bmiHeader.biHeight = -cy;
    bmi.bmiHeader.biPlanes = 1;
    bmi.bmiHeader.biBitCount = 32;
    bmi.bmiHeader.biCompression = BI_RGB;
    void* pBits = nullptr;
    HDC hMem = ::CreateCompatibleDC(hSource);
    HBITMAP hBitmap = ::CreateDIBSection(hMem, &bmi, DIB_RGB_COLORS, &pBits, nullptr, 0);
    HGDIOBJ hOld = ::SelectObject(hMem, hBitmap);
    ::BitBlt(hMem, 0, 0, cx, cy, hSource, x, y, SRCCOPY);
    ::GdiFlush();
    std::memcpy(pixels.vecPixels.data(), pBits, pixels.vecPixels.size() * 4);
    ::SelectObject(hMem, hOld);
    ::DeleteObject(hBitmap);
    ::DeleteDC(hMem);
    return pixels;
}

CBitmapPixels CaptureClient(HWND hWnd)
{
    RECT rc;
    ::GetClientRect(hWnd, &rc);
    HDC hDC = ::GetDC(hWnd);
    CBitmapPixels pixels = Capture(hDC, 0, 0, rc.right, rc.bottom);
    ::ReleaseDC(hWnd, hDC);
    return pixels;
}

// A part of the screen (window frames, open lists), as the X server shows it.
CBitmapPixels CaptureScreen(const RECT& rc)
{
    HDC hDC = ::GetDC(nullptr);
    CBitmapPixels pixels = Capture(hDC, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top);
    ::ReleaseDC(nullptr, hDC);
    return pixels;
}

bool IsBlueish(COLORREF cr)
{
    return GetBValue(cr) >= 160 && GetRValue(cr) <= 100 && GetGValue(cr) <= 100;
}

bool IsReddish(COLORREF cr)
{
    return GetRValue(cr) >= 160 && GetBValue(cr) <= 100 && GetGValue(cr) <= 100;
}

bool IsDark(COLORREF cr)
{
    return GetRValue(cr) < 90 && GetGValue(cr) < 90 && GetBValue(cr) < 90;
}

int CountPixels(const CBitmapPixels& pixels, const RECT& rc, bool (*pfnTest)(COLORREF))
{
    int iCount = 0;
    for (int y = (rc.top < 0 ? 0 : rc.top); y < rc.bottom && y < pixels.cy; ++y) {
        for (int x = (rc.left < 0 ? 0 : rc.left); x < rc.right && x < pixels.cx; ++x) {
            if (pfnTest(pixels.At(x, y))) {
                ++iCount;
            }
        }
    }
    return iCount;
}

std::string ScreenshotFolder()
{
    const char* szBuild = std::getenv("ORV_BUILD_DIR");
    std::string strFolder;
    if (szBuild != nullptr && *szBuild == '/') {
        strFolder = std::string("Z:") + szBuild; // the Unix root under Wine
    } else if (szBuild != nullptr && *szBuild != '\0') {
        strFolder = szBuild;
    } else {
        char szCwd[MAX_PATH] = {0};
        ::GetCurrentDirectoryA(MAX_PATH, szCwd);
        strFolder = szCwd;
    }
    for (char& ch : strFolder) {
        if (ch == '/') {
            ch = '\\';
        }
    }
    strFolder += "\\screenshots";
    ::CreateDirectoryA(strFolder.c_str(), nullptr);
    return strFolder;
}

bool SaveBmp(const CBitmapPixels& pixels, const std::string& strPath)
{
    BITMAPFILEHEADER bfh;
    BITMAPINFOHEADER bih;
    std::memset(&bfh, 0, sizeof(bfh));
    std::memset(&bih, 0, sizeof(bih));
    const DWORD dwBytes = static_cast<DWORD>(pixels.vecPixels.size() * 4);
    bfh.bfType = 0x4D42;
    bfh.bfOffBits = sizeof(bfh) + sizeof(bih);
    bfh.bfSize = bfh.bfOffBits + dwBytes;
    bih.biSize = sizeof(bih);
    bih.biWidth = pixels.cx;
    bih.biHeight = -pixels.cy;
    bih.biPlanes = 1;
    bih.biBitCount = 32;
    bih.biCompression = BI_RGB;
    HANDLE hFile = ::CreateFileA(strPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        return false;
    }
    DWORD dwWritten = 0;
    ::WriteFile(hFile, &bfh, sizeof(bfh), &dwWritten, nullptr);
    ::WriteFile(hFile, &bih, sizeof(bih), &dwWritten, nullptr);
    ::WriteFile(hFile, pixels.vecPixels.data(), dwBytes, &dwWritten, nullptr);
    ::CloseHandle(hFile);
    return dwWritten == dwBytes;
}

// Dialog units of template 102 in pixels, through the dialog's own mapping.
int MapY(HWND hDlg, int iDlu)
{
    RECT rc = {0, iDlu, 0, 0};
    ::MapDialogRect(hDlg, &rc);
    return rc.top;
}

int MapX(HWND hDlg, int iDlu)
{
    RECT rc = {iDlu, 0, 0, 0};
    ::MapDialogRect(hDlg, &rc);
    return rc.left;
}

// Answers the message boxes of the dialog's thread: OK, noting their texts.
struct CMessageBoxAnswerer {
    static thread_local std::vector<std::wstring>* s_pTexts;
    static thread_local std::vector<std::wstring>* s_pCaptions;
    static thread_local std::vector<LONG>* s_pStyles;

    static LRESULT CALLBACK CbtProc(int nCode, WPARAM wParam, LPARAM lParam)
    {
        if (nCode == HCBT_ACTIVATE) {
            HWND hWnd = reinterpret_cast<HWND>(wParam);
            wchar_t szClass[64] = {0};
            ::GetClassNameW(hWnd, szClass, 64);
            const std::wstring strCaption = WindowText(hWnd);
            if (std::wstring(szClass) == L"#32770" && strCaption != L"请选择打印选项") {
                s_pCaptions->push_back(strCaption);
                s_pTexts->push_back(WindowText(::GetDlgItem(hWnd, 0xFFFF)));
                // Buttons other than OK would be there as IDCANCEL, IDYES, IDNO.
                s_pStyles->push_back(::GetDlgItem(hWnd, IDCANCEL) == nullptr && ::GetDlgItem(hWnd, IDNO) == nullptr &&
                                             ::GetDlgItem(hWnd, IDOK) != nullptr
                                         ? 1
                                         : 0);
                ::PostMessageW(hWnd, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED),
                               reinterpret_cast<LPARAM>(::GetDlgItem(hWnd, IDOK)));
            }
        }
        return ::CallNextHookEx(nullptr, nCode, wParam, lParam);
    }
};
thread_local std::vector<std::wstring>* CMessageBoxAnswerer::s_pTexts = nullptr;
thread_local std::vector<std::wstring>* CMessageBoxAnswerer::s_pCaptions = nullptr;
thread_local std::vector<LONG>* CMessageBoxAnswerer::s_pStyles = nullptr;

class OrvprintDDlgWin32ViewTest : public ::testing::Test {
protected:
    // Starts the dialog on its own thread and returns its window once
    // WM_INITDIALOG has run.
    HWND Start()
    {
        m_vecRequest = m_request.Build();
        m_uiRecvSize = m_vecRequest.size();
        m_abyReply.fill(0xAB);
        m_uiRespSize = 44;
        std::promise<HWND> promiseWindow;
        std::future<HWND> futureWindow = promiseWindow.get_future();
        m_futureResult = std::async(std::launch::async, [this, &promiseWindow]() {
            CMessageBoxAnswerer::s_pTexts = &m_vecMessages;
            CMessageBoxAnswerer::s_pCaptions = &m_vecCaptions;
            CMessageBoxAnswerer::s_pStyles = &m_vecOkOnly;
            HHOOK hHook = ::SetWindowsHookExW(WH_CBT, CMessageBoxAnswerer::CbtProc, nullptr, ::GetCurrentThreadId());
            bool bWindowGiven = false;
            int iResult = -1;
            {
                COrvprintDDlg dlg(m_vecRequest.data(), &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize);
                dlg.SetViewFactory([&](IOrvprintDDlgEvents& objEvents) {
                    std::unique_ptr<COrvprintDDlgWin32View> pView(new COrvprintDDlgWin32View(objEvents));
                    pView->SetInitHook([&](HWND hWnd) {
                        bWindowGiven = true;
                        promiseWindow.set_value(hWnd);
                    });
                    return std::unique_ptr<IOrvprintDDlgView>(std::move(pView));
                });
                dlg.SetClock([this]() {
                    return std::chrono::steady_clock::time_point() + std::chrono::milliseconds(m_llNowMs.load());
                });
                dlg.SetConfigFactory([this]() -> std::shared_ptr<IOrvprintDDlgConfig> {
                    if (m_bConfigThrows) {
                        throw COrvConfigException(0);
                    }
                    return m_spConfig;
                });
                iResult = dlg.DoModal();
            }
            ::UnhookWindowsHookEx(hHook);
            if (!bWindowGiven) {
                promiseWindow.set_value(nullptr);
            }
            return iResult;
        });
        HWND hWnd = futureWindow.get();
        if (hWnd != nullptr) {
            // The hook runs in WM_INITDIALOG; the modal loop shows the dialog
            // once its queue is first empty, which can come after a message
            // sent from here. Wait (bounded) until it is shown, then round trip
            // through the modal loop so that it is painted.
            const auto tpDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            while (!::IsWindowVisible(hWnd) && ::IsWindow(hWnd) && std::chrono::steady_clock::now() < tpDeadline) {
                ::SendMessageW(hWnd, WM_NULL, 0, 0);
                std::this_thread::yield();
            }
            ::SendMessageW(hWnd, WM_NULL, 0, 0);
            ::RedrawWindow(hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
            ::SendMessageW(hWnd, WM_NULL, 0, 0);
        }
        return hWnd;
    }

    int Finish() { return m_futureResult.get(); }

    void Select(HWND hDlg, int iId, int iIndex)
    {
        HWND hCombo = ::GetDlgItem(hDlg, iId);
        ::SendMessageW(hCombo, CB_SETCURSEL, static_cast<WPARAM>(iIndex), 0);
        ::SendMessageW(hDlg, WM_COMMAND, MAKEWPARAM(iId, CBN_SELCHANGE), reinterpret_cast<LPARAM>(hCombo));
    }

    void Click(HWND hDlg, int iId)
    {
        ::PostMessageW(hDlg, WM_COMMAND, MAKEWPARAM(iId, BN_CLICKED), reinterpret_cast<LPARAM>(::GetDlgItem(hDlg, iId)));
    }

    std::vector<uint8_t> Answer(int32_t iResult, const std::u16string& strPrinterId,
                                const std::u16string& strProjectId) const
    {
        return orvtest::AnswerBytes(iResult, strPrinterId, strProjectId);
    }

    std::vector<uint8_t> Reply() const { return std::vector<uint8_t>(m_abyReply.begin(), m_abyReply.end()); }

    void FillThreePrinters()
    {
        m_request.Printer(u"P1", u"三楼彩色打印机", 0, false, 2, 15, 200, u"行政部")
            .Printer(u"P2", u"四楼黑白打印机", 1, false, 1, 3, 100)
            .Printer(u"P3", u"HP LaserJet 5200", 0, true, 1, 900, 500)
            .Project(u"J1", u"研发项目")
            .Project(u"J2", u"市场推广");
    }

    CJobRequestBuilder m_request;
    std::shared_ptr<CFakeDlgConfig> m_spConfig = std::make_shared<CFakeDlgConfig>();
    bool m_bConfigThrows = false;
    std::vector<uint8_t> m_vecRequest;
    uint64_t m_uiRecvSize = 0;
    std::array<uint8_t, 44> m_abyReply{};
    uint64_t m_uiRespSize = 0;
    std::future<int> m_futureResult;
    std::vector<std::wstring> m_vecMessages;
    std::vector<std::wstring> m_vecCaptions;
    std::vector<LONG> m_vecOkOnly;
    // The auto-cancel's clock, in milliseconds.
    std::atomic<long long> m_llNowMs{3600000};
};

// The texts a list shows now, row by row.
std::vector<std::wstring> Rows(HWND hCombo)
{
    std::vector<std::wstring> vec;
    const int iCount = static_cast<int>(::SendMessageW(hCombo, CB_GETCOUNT, 0, 0));
    for (int i = 0; i < iCount; ++i) {
        vec.push_back(ListText(hCombo, i));
    }
    return vec;
}

// Characters as a keyboard or an input method delivers them to the list.
void Chars(HWND hCombo, const std::u16string& strText, UINT uMsg = WM_CHAR)
{
    for (char16_t ch : strText) {
        ::SendMessageW(hCombo, uMsg, static_cast<WPARAM>(ch), 1);
    }
}

// Waits (bounded) until the dialog's thread has made the condition true,
// letting it run its message loop in between.
bool WaitUntil(HWND hDlg, const std::function<bool()>& fnDone)
{
    const auto tpDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!fnDone()) {
        if (std::chrono::steady_clock::now() > tpDeadline || !::IsWindow(hDlg)) {
            return fnDone();
        }
        ::SendMessageW(hDlg, WM_NULL, 0, 0);
        std::this_thread::yield();
    }
    return true;
}

} // namespace

TEST_F(OrvprintDDlgWin32ViewTest, TemplateControlsAndStyles)
{
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    EXPECT_EQ(L"请选择打印选项", WindowText(hDlg));
    EXPECT_TRUE(::IsWindowVisible(hDlg));
    EXPECT_EQ(nullptr, ::GetWindow(hDlg, GW_OWNER));
    const LONG_PTR lExStyle = ::GetWindowLongPtrW(hDlg, GWL_EXSTYLE);
    EXPECT_TRUE(lExStyle & WS_EX_TOPMOST);
    EXPECT_TRUE(lExStyle & WS_EX_APPWINDOW);
    const LONG_PTR lStyle = ::GetWindowLongPtrW(hDlg, GWL_STYLE);
    EXPECT_TRUE(lStyle & WS_CAPTION);
    EXPECT_TRUE(lStyle & WS_SYSMENU);
    EXPECT_NE(0, ::SendMessageW(hDlg, WM_GETICON, ICON_BIG, 0));
    EXPECT_NE(0, ::SendMessageW(hDlg, WM_GETICON, ICON_SMALL, 0));

    EXPECT_EQ(L"确定", WindowText(::GetDlgItem(hDlg, IDOK)));
    EXPECT_EQ(L"取消打印", WindowText(::GetDlgItem(hDlg, IDCANCEL)));
    EXPECT_EQ(L"选择项目", WindowText(::GetDlgItem(hDlg, IDC_PROJECT_GROUP)));
    EXPECT_EQ(L"项目名称：", WindowText(::GetDlgItem(hDlg, IDC_PROJECT_LABEL)));
    EXPECT_EQ(L"详细信息：", WindowText(::GetDlgItem(hDlg, IDC_PROJECT_DETAILS_LABEL)));
    EXPECT_FALSE(::IsWindowVisible(::GetDlgItem(hDlg, IDC_PROJECT_MARKER)));
    const LONG_PTR lComboStyle = ::GetWindowLongPtrW(::GetDlgItem(hDlg, IDC_PRINTER_SEL), GWL_STYLE);
    EXPECT_EQ(CBS_DROPDOWNLIST, lComboStyle & 3);
    EXPECT_TRUE(lComboStyle & CBS_OWNERDRAWVARIABLE);
    EXPECT_TRUE(lComboStyle & CBS_HASSTRINGS);
    const LONG_PTR lEditStyle = ::GetWindowLongPtrW(::GetDlgItem(hDlg, IDC_PRINTER_DETAILS), GWL_STYLE);
    EXPECT_TRUE(lEditStyle & ES_MULTILINE);
    EXPECT_TRUE(lEditStyle & ES_READONLY);

    // OK at (60, 187) dialog units.
    RECT rcOk = WindowRect(::GetDlgItem(hDlg, IDOK));
    ::MapWindowPoints(nullptr, hDlg, reinterpret_cast<POINT*>(&rcOk), 2);
    EXPECT_EQ(MapX(hDlg, 60), rcOk.left);
    EXPECT_EQ(MapY(hDlg, 187), rcOk.top);
    RECT rcClient;
    ::GetClientRect(hDlg, &rcClient);
    EXPECT_EQ(MapX(hDlg, 299), rcClient.right);
    EXPECT_EQ(MapY(hDlg, 210), rcClient.bottom);

    Click(hDlg, IDCANCEL);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
}

TEST_F(OrvprintDDlgWin32ViewTest, FillSelectAndConfirm)
{
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    HWND hPrinters = ::GetDlgItem(hDlg, IDC_PRINTER_SEL);
    HWND hProjects = ::GetDlgItem(hDlg, IDC_PROJECT_SEL);
    ASSERT_EQ(3, ::SendMessageW(hPrinters, CB_GETCOUNT, 0, 0));
    EXPECT_EQ(L"三楼彩色打印机", ListText(hPrinters, 0));
    EXPECT_EQ(L"HP LaserJet 5200", ListText(hPrinters, 2));
    const auto* pItem = reinterpret_cast<const CMyComboBox::ITEM_INFO*>(
        ::SendMessageW(hPrinters, CB_GETITEMDATA, 1, 0));
    ASSERT_NE(nullptr, pItem);
    EXPECT_EQ(L"已超出使用时间。", pItem->strDescription);
    EXPECT_FALSE(pItem->bEnabled);
    ASSERT_EQ(2, ::SendMessageW(hProjects, CB_GETCOUNT, 0, 0));
    EXPECT_EQ(0, ::SendMessageW(hPrinters, CB_GETCURSEL, 0, 0));
    EXPECT_EQ(L"打印机名：三楼彩色打印机\r\n打印机状态：打印任务数(2)，打印任务总页数(15)\r\n最大打印页数：200\r\n"
              L"详细信息：行政部",
              WindowText(::GetDlgItem(hDlg, IDC_PRINTER_DETAILS)));
    EXPECT_EQ(L"项目名 : 研发项目\r\n项目ID : J1\r\n", WindowText(::GetDlgItem(hDlg, IDC_PROJECT_DETAILS)));
    EXPECT_TRUE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));

    Select(hDlg, IDC_PRINTER_SEL, 1);
    EXPECT_FALSE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    Select(hDlg, IDC_PRINTER_SEL, 2);
    EXPECT_FALSE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    Select(hDlg, IDC_PRINTER_SEL, 0);
    EXPECT_TRUE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    Select(hDlg, IDC_PROJECT_SEL, 1);
    EXPECT_EQ(L"项目名 : 市场推广\r\n项目ID : J2\r\n", WindowText(::GetDlgItem(hDlg, IDC_PROJECT_DETAILS)));

    Click(hDlg, IDOK);
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Finish());
    EXPECT_EQ(Answer(0, u"P1", u"J2"), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    EXPECT_EQ(L"三楼彩色打印机", m_spConfig->m_strDefaultPrinter);
    EXPECT_EQ(L"市场推广", m_spConfig->m_strDefaultProject);
}

TEST_F(OrvprintDDlgWin32ViewTest, DefaultByPrefixAndDisabledOkIgnoresEnter)
{
    m_spConfig->m_strDefaultPrinter = L"hp laser";
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    EXPECT_EQ(2, ::SendMessageW(::GetDlgItem(hDlg, IDC_PRINTER_SEL), CB_GETCURSEL, 0, 0));
    EXPECT_FALSE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    // IDOK while OK is disabled confirms nothing; the dialog stays.
    ::SendMessageW(hDlg, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
    EXPECT_TRUE(::IsWindow(hDlg));
    Click(hDlg, IDCANCEL);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    EXPECT_EQ(Answer(1, u"", u""), Reply());
}

TEST_F(OrvprintDDlgWin32ViewTest, EscapeAfterProjectChangeCancels)
{
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    Select(hDlg, IDC_PROJECT_SEL, 1);
    ::PostMessageW(hDlg, WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
}

TEST_F(OrvprintDDlgWin32ViewTest, CloseBoxCancels)
{
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    ::PostMessageW(hDlg, WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    EXPECT_EQ(Answer(1, u"", u""), Reply());
}

TEST_F(OrvprintDDlgWin32ViewTest, HiddenProjectSectionShrinksTheWindow)
{
    m_spConfig->m_bDisplayProjectSelection = false;
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    for (int iId : {IDC_PROJECT_GROUP, IDC_PROJECT_LABEL, IDC_PROJECT_DETAILS_LABEL, IDC_PROJECT_SEL,
                    IDC_PROJECT_DETAILS}) {
        EXPECT_FALSE(::IsWindowVisible(::GetDlgItem(hDlg, iId))) << "control " << iId;
    }
    EXPECT_TRUE(::IsWindowVisible(::GetDlgItem(hDlg, IDOK)));
    EXPECT_TRUE(::IsWindowVisible(::GetDlgItem(hDlg, IDCANCEL)));

    const RECT rcWindow = WindowRect(hDlg);
    const RECT rcMarker = WindowRect(::GetDlgItem(hDlg, IDC_PROJECT_MARKER));
    EXPECT_EQ(rcMarker.top, rcWindow.bottom);

    // The buttons keep their distance to the bottom edge: the client gap of
    // the template plus the bottom frame.
    RECT rcClient;
    ::GetClientRect(hDlg, &rcClient);
    POINT ptClientBottom = {0, rcClient.bottom};
    ::ClientToScreen(hDlg, &ptClientBottom);
    const int iBottomFrame = rcWindow.bottom - ptClientBottom.y;
    const int iTemplateGap = MapY(hDlg, 210) - (MapY(hDlg, 187) + MapY(hDlg, 16));
    EXPECT_EQ(iBottomFrame + iTemplateGap, rcWindow.bottom - WindowRect(::GetDlgItem(hDlg, IDOK)).bottom);
    EXPECT_EQ(iBottomFrame + iTemplateGap, rcWindow.bottom - WindowRect(::GetDlgItem(hDlg, IDCANCEL)).bottom);

    Click(hDlg, IDOK);
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Finish());
    EXPECT_EQ(Answer(0, u"P1", u"J1"), Reply());
}

TEST_F(OrvprintDDlgWin32ViewTest, OwnerDrawnItemHeight)
{
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    HWND hCombo = ::GetDlgItem(hDlg, IDC_PRINTER_SEL);

    // Bold (weight 700, 1.2 times the height) plus thin (weight 100) height
    // of "中文", in the font of the list's own device context.
    HDC hDC = ::GetDC(hCombo);
    LOGFONTW lf;
    ::GetObjectW(::GetCurrentObject(hDC, OBJ_FONT), sizeof(lf), &lf);
    LOGFONTW lfBold = lf;
    lfBold.lfWeight = 700;
    lfBold.lfHeight = static_cast<LONG>(static_cast<float>(lf.lfHeight) * 1.2f);
    LOGFONTW lfThin = lf;
    lfThin.lfWeight = 100;
    HFONT hBold = ::CreateFontIndirectW(&lfBold);
    HFONT hThin = ::CreateFontIndirectW(&lfThin);
    SIZE sizeBold;
    SIZE sizeThin;
    HGDIOBJ hOld = ::SelectObject(hDC, hBold);
    ::GetTextExtentPoint32W(hDC, L"中文", 2, &sizeBold);
    ::SelectObject(hDC, hThin);
    ::GetTextExtentPoint32W(hDC, L"中文", 2, &sizeThin);
    ::SelectObject(hDC, hOld);
    ::DeleteObject(hBold);
    ::DeleteObject(hThin);
    ::ReleaseDC(hCombo, hDC);

    ASSERT_GT(sizeBold.cy, 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(sizeBold.cy + sizeThin.cy, ::SendMessageW(hCombo, CB_GETITEMHEIGHT, static_cast<WPARAM>(i), 0))
            << "item " << i;
    }
    Click(hDlg, IDCANCEL);
    Finish();
}

TEST_F(OrvprintDDlgWin32ViewTest, DrawingOpenAndClosedAndScreenshots)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    m_spConfig->m_bCanSelectNoProject = true;
    m_spConfig->m_strDefaultPrinter = L"三楼";
    m_spConfig->m_strDefaultProject = L"研发";
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    HWND hCombo = ::GetDlgItem(hDlg, IDC_PRINTER_SEL);
    ASSERT_EQ(1, ::SendMessageW(hCombo, CB_GETCURSEL, 0, 0));
    const std::string strFolder = ScreenshotFolder();

    // Closed: the name only, black on the window colour.
    ::RedrawWindow(hCombo, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    const CBitmapPixels pixelsClosed = CaptureClient(hCombo);
    const RECT rcAll = {0, 0, pixelsClosed.cx, pixelsClosed.cy};
    EXPECT_GT(CountPixels(pixelsClosed, rcAll, IsDark), 20);
    EXPECT_EQ(0, CountPixels(pixelsClosed, rcAll, IsBlueish));
    EXPECT_EQ(0, CountPixels(pixelsClosed, rcAll, IsReddish));
    EXPECT_TRUE(SaveBmp(CaptureScreen(WindowRect(hDlg)), strFolder + "\\win32-dialog.bmp"));

    // Open: two lines per item, blue for usable printers and red for the others.
    ::SendMessageW(hCombo, CB_SHOWDROPDOWN, TRUE, 0);
    COMBOBOXINFO cbi;
    cbi.cbSize = sizeof(cbi);
    ASSERT_TRUE(::GetComboBoxInfo(hCombo, &cbi));
    HWND hList = cbi.hwndList;
    ASSERT_TRUE(::IsWindowVisible(hList));
    ::RedrawWindow(hList, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    const CBitmapPixels pixelsOpen = CaptureClient(hList);
    const int iCount = static_cast<int>(::SendMessageW(hCombo, CB_GETCOUNT, 0, 0));
    ASSERT_EQ(4, iCount);
    for (int i = 0; i < iCount; ++i) {
        RECT rcItem;
        ASSERT_NE(LB_ERR, ::SendMessageW(hList, LB_GETITEMRECT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&rcItem)));
        const int iHalf = (rcItem.top + rcItem.bottom) / 2;
        RECT rcLower = rcItem;
        rcLower.top = iHalf - 2;
        const auto* pItem = reinterpret_cast<const CMyComboBox::ITEM_INFO*>(
            ::SendMessageW(hCombo, CB_GETITEMDATA, static_cast<WPARAM>(i), 0));
        if (pItem->bEnabled) {
            EXPECT_GT(CountPixels(pixelsOpen, rcLower, IsBlueish), 10) << "item " << i;
            EXPECT_EQ(0, CountPixels(pixelsOpen, rcItem, IsReddish)) << "item " << i;
        } else {
            EXPECT_GT(CountPixels(pixelsOpen, rcLower, IsReddish), 10) << "item " << i;
            EXPECT_EQ(0, CountPixels(pixelsOpen, rcLower, IsBlueish)) << "item " << i;
        }
    }
    // The selected item (1) has the highlight background.
    RECT rcSelected;
    ::SendMessageW(hList, LB_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&rcSelected));
    const COLORREF crCorner = pixelsOpen.At(rcSelected.right - 2, rcSelected.top + 1);
    EXPECT_EQ(::GetSysColor(COLOR_HIGHLIGHT), crCorner);

    RECT rcShot = WindowRect(hDlg);
    const RECT rcList = WindowRect(hList);
    if (rcList.bottom > rcShot.bottom) {
        rcShot.bottom = rcList.bottom;
    }
    EXPECT_TRUE(SaveBmp(CaptureScreen(rcShot), strFolder + "\\win32-dialog-list-open.bmp"));
    ::SendMessageW(hCombo, CB_SHOWDROPDOWN, FALSE, 0);

    Click(hDlg, IDCANCEL);
    Finish();

    m_spConfig->m_bDisplayProjectSelection = false;
    hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    EXPECT_TRUE(SaveBmp(CaptureScreen(WindowRect(hDlg)), strFolder + "\\win32-dialog-no-projects.bmp"));
    Click(hDlg, IDCANCEL);
    Finish();
}

TEST_F(OrvprintDDlgWin32ViewTest, ConfigFailureShowsOkOnlyMessageBox)
{
    m_bConfigThrows = true;
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    ASSERT_EQ(1u, m_vecMessages.size());
    EXPECT_EQ(L"读取配置文件失败。", m_vecMessages[0]);
    EXPECT_EQ(L"OrvprintD", m_vecCaptions[0]);
    EXPECT_EQ(1, m_vecOkOnly[0]);
    EXPECT_EQ(0, ::SendMessageW(::GetDlgItem(hDlg, IDC_PRINTER_SEL), CB_GETCOUNT, 0, 0));
    EXPECT_TRUE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    Click(hDlg, IDCANCEL);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    EXPECT_EQ(Answer(1, u"", u""), Reply());
}

TEST_F(OrvprintDDlgWin32ViewTest, OkAfterConfigFailureAnswersAsCancel)
{
    m_bConfigThrows = true;
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    ASSERT_EQ(1u, m_vecMessages.size());
    EXPECT_EQ(L"读取配置文件失败。", m_vecMessages[0]);
    ASSERT_TRUE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    Click(hDlg, IDOK);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
}

// ------------------------------------------------------------ type to search

TEST_F(OrvprintDDlgWin32ViewTest, TypedCharactersFilterAndOpenTheList)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    HWND hPrinters = ::GetDlgItem(hDlg, IDC_PRINTER_SEL);
    EXPECT_EQ(nullptr, ::GetDlgItem(hDlg, IDC_PRINTER_SEARCH));
    Chars(hPrinters, u"hp");
    EXPECT_EQ((std::vector<std::wstring>{L"漫游打印(SG认证)", L"HP LaserJet 5200"}), Rows(hPrinters));
    EXPECT_NE(0, ::SendMessageW(hPrinters, CB_GETDROPPEDSTATE, 0, 0));
    HWND hTyped = ::GetDlgItem(hDlg, IDC_PRINTER_SEARCH);
    ASSERT_NE(nullptr, hTyped);
    EXPECT_EQ(L"hp", WindowText(hTyped));
    // The owner-drawn rows keep their records.
    const auto* pItem =
        reinterpret_cast<const CMyComboBox::ITEM_INFO*>(::SendMessageW(hPrinters, CB_GETITEMDATA, 1, 0));
    ASSERT_NE(nullptr, pItem);
    EXPECT_EQ(L"当前打印任务总页数超出打印机限制。", pItem->strDescription);

    Chars(hPrinters, u"\b\b");
    EXPECT_EQ(4u, Rows(hPrinters).size());
    EXPECT_EQ(nullptr, ::GetDlgItem(hDlg, IDC_PRINTER_SEARCH));
    // Chinese from an input method.
    Chars(hPrinters, u"四楼", WM_IME_CHAR);
    EXPECT_EQ((std::vector<std::wstring>{L"漫游打印(SG认证)", L"四楼黑白打印机"}), Rows(hPrinters));
    Select(hDlg, IDC_PRINTER_SEL, 1); // row 1 is item 2
    EXPECT_TRUE(WindowText(::GetDlgItem(hDlg, IDC_PRINTER_DETAILS)).find(L"已超出使用时间。") != std::wstring::npos);
    EXPECT_FALSE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    // Closing the list brings every item back, the chosen one selected.
    ::SendMessageW(hPrinters, CB_SHOWDROPDOWN, FALSE, 0);
    EXPECT_TRUE(WaitUntil(hDlg, [&] { return Rows(hPrinters).size() == 4u; }));
    EXPECT_EQ(2, ::SendMessageW(hPrinters, CB_GETCURSEL, 0, 0));
    Select(hDlg, IDC_PRINTER_SEL, 0);
    Click(hDlg, IDOK);
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Finish());
    EXPECT_EQ(Answer(0, u"", u"J1"), Reply());
}

TEST_F(OrvprintDDlgWin32ViewTest, SurrogatePairsAndEscapeClearsBeforeItCancels)
{
    m_spConfig->m_bCanSelectNoProject = true;
    FillThreePrinters();
    m_request.Project(u"J3", u"项目\U0002A6A5乙");
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    HWND hProjects = ::GetDlgItem(hDlg, IDC_PROJECT_SEL);
    ::SetFocus(hProjects);
    Chars(hProjects, u"\U0002A6A5"); // two WM_CHAR, one for each half
    EXPECT_EQ((std::vector<std::wstring>{L"(不选择项目)", L"项目\U0002A6A5乙"}), Rows(hProjects));
    // Escape through the dialog's own loop: the text goes, the dialog stays.
    ::PostMessageW(hProjects, WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_TRUE(WaitUntil(hDlg, [&] { return Rows(hProjects).size() == 4u; }));
    EXPECT_TRUE(::IsWindowVisible(hDlg));
    EXPECT_EQ(0, ::SendMessageW(hProjects, CB_GETCURSEL, 0, 0));
    // Nothing typed: Escape cancels as before.
    ::SendMessageW(hProjects, CB_SHOWDROPDOWN, FALSE, 0);
    ::PostMessageW(hProjects, WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    EXPECT_EQ(Answer(1, u"", u""), Reply());
}

// --------------------------------------------------- keyboard and screen readers

TEST_F(OrvprintDDlgWin32ViewTest, TabOrderAndKeysThatOpenAList)
{
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    const int aiOrder[] = {IDOK, IDCANCEL, IDC_PRINTER_SEL, IDC_PROJECT_SEL, IDC_PRINTER_DETAILS, IDC_PROJECT_DETAILS};
    HWND hControl = ::GetDlgItem(hDlg, IDOK);
    for (size_t i = 1; i <= 6; ++i) {
        hControl = ::GetNextDlgTabItem(hDlg, hControl, FALSE);
        EXPECT_EQ(::GetDlgItem(hDlg, aiOrder[i % 6]), hControl) << "step " << i;
    }
    // F4 and Alt+Down open a list.
    HWND hPrinters = ::GetDlgItem(hDlg, IDC_PRINTER_SEL);
    ::SendMessageW(hPrinters, WM_KEYDOWN, VK_F4, 0);
    EXPECT_NE(0, ::SendMessageW(hPrinters, CB_GETDROPPEDSTATE, 0, 0));
    ::SendMessageW(hPrinters, CB_SHOWDROPDOWN, FALSE, 0);
    HWND hProjects = ::GetDlgItem(hDlg, IDC_PROJECT_SEL);
    ::SendMessageW(hProjects, WM_SYSKEYDOWN, VK_DOWN, 1 << 29);
    EXPECT_NE(0, ::SendMessageW(hProjects, CB_GETDROPPEDSTATE, 0, 0));
    ::SendMessageW(hProjects, CB_SHOWDROPDOWN, FALSE, 0);
    Click(hDlg, IDCANCEL);
    Finish();
}

TEST_F(OrvprintDDlgWin32ViewTest, EveryItemIsReadableAndLabelsNameTheirControls)
{
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    HWND hPrinters = ::GetDlgItem(hDlg, IDC_PRINTER_SEL);
    EXPECT_TRUE(::GetWindowLongPtrW(hPrinters, GWL_STYLE) & CBS_HASSTRINGS);
    EXPECT_EQ((std::vector<std::wstring>{L"三楼彩色打印机", L"四楼黑白打印机", L"HP LaserJet 5200"}), Rows(hPrinters));
    EXPECT_EQ((std::vector<std::wstring>{L"研发项目", L"市场推广"}), Rows(::GetDlgItem(hDlg, IDC_PROJECT_SEL)));
    // The label of each list and details box, as a screen reader finds it:
    // the nearest static text of the dialog on the control's left.
    auto labelOf = [hDlg](int iId) {
        RECT rcControl = WindowRect(::GetDlgItem(hDlg, iId));
        std::wstring strLabel;
        int iBest = 1 << 30;
        for (HWND h = ::GetWindow(hDlg, GW_CHILD); h != nullptr; h = ::GetWindow(h, GW_HWNDNEXT)) {
            wchar_t szClass[32] = {0};
            ::GetClassNameW(h, szClass, 32);
            const RECT rc = WindowRect(h);
            if (_wcsicmp(szClass, L"Static") != 0 || rc.right > rcControl.left || !::IsWindowVisible(h)) {
                continue;
            }
            const int iDistance = std::abs(rc.top - rcControl.top);
            if (iDistance < iBest) {
                iBest = iDistance;
                strLabel = WindowText(h);
            }
        }
        return strLabel;
    };
    // Screen readers take the static text just before a control in window
    // order as its name.
    auto previousText = [hDlg](int iId) { return WindowText(::GetWindow(::GetDlgItem(hDlg, iId), GW_HWNDPREV)); };
    EXPECT_EQ(L"打印机名：", previousText(IDC_PRINTER_SEL));
    EXPECT_EQ(L"项目名称：", previousText(IDC_PROJECT_SEL));
    EXPECT_EQ(L"详细信息：", previousText(IDC_PRINTER_DETAILS));
    EXPECT_EQ(L"详细信息：", previousText(IDC_PROJECT_DETAILS));
    EXPECT_EQ(L"打印机名：", labelOf(IDC_PRINTER_SEL));
    EXPECT_EQ(L"项目名称：", labelOf(IDC_PROJECT_SEL));
    EXPECT_EQ(L"详细信息：", labelOf(IDC_PRINTER_DETAILS));
    EXPECT_EQ(L"详细信息：", labelOf(IDC_PROJECT_DETAILS));
    Click(hDlg, IDCANCEL);
    Finish();
}

// --------------------------------------------------------------- auto-cancel

TEST_F(OrvprintDDlgWin32ViewTest, AutoCancelCountsDownOnTheCancelButtonAndCancels)
{
    m_spConfig->m_uiAutoCancelSeconds = 4;
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);
    HWND hCancel = ::GetDlgItem(hDlg, IDCANCEL);
    EXPECT_EQ(L"取消打印 (4)", WindowText(hCancel));
    m_llNowMs += 1500;
    ::SendMessageW(hDlg, WM_TIMER, IDT_AUTO_CANCEL, 0);
    EXPECT_EQ(L"取消打印 (3)", WindowText(hCancel));
    m_llNowMs += 2500;
    ::PostMessageW(hDlg, WM_TIMER, IDT_AUTO_CANCEL, 0);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
}

TEST_F(OrvprintDDlgWin32ViewTest, AKeyAClickOrAnOpenedListStopsTheAutoCancel)
{
    m_spConfig->m_uiAutoCancelSeconds = 4;
    FillThreePrinters();
    const std::function<void(HWND)> aInputs[] = {
        [](HWND hDlg) { ::PostMessageW(::GetDlgItem(hDlg, IDC_PRINTER_SEL), WM_KEYDOWN, VK_SHIFT, 0); },
        [](HWND hDlg) { ::PostMessageW(::GetDlgItem(hDlg, IDC_PRINTER_DETAILS), WM_LBUTTONDOWN, MK_LBUTTON, 0); },
        [](HWND hDlg) {
            HWND hProjects = ::GetDlgItem(hDlg, IDC_PROJECT_SEL);
            ::SendMessageW(hProjects, CB_SHOWDROPDOWN, TRUE, 0);
            ::SendMessageW(hProjects, CB_SHOWDROPDOWN, FALSE, 0);
        },
    };
    for (const auto& fnInput : aInputs) {
        HWND hDlg = Start();
        ASSERT_NE(nullptr, hDlg);
        HWND hCancel = ::GetDlgItem(hDlg, IDCANCEL);
        EXPECT_EQ(L"取消打印 (4)", WindowText(hCancel));
        fnInput(hDlg);
        EXPECT_TRUE(WaitUntil(hDlg, [&] { return WindowText(hCancel) == L"取消打印"; }));
        m_llNowMs += 60000;
        ::SendMessageW(hDlg, WM_TIMER, IDT_AUTO_CANCEL, 0);
        EXPECT_TRUE(::IsWindowVisible(hDlg));
        Click(hDlg, IDCANCEL);
        EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Finish());
    }
}

// ------------------------------------------------------------------ high DPI

// Every text fits its control and the owner-drawn rows fit both lines, at
// the screen's DPI: ctest runs this once more in a prefix with 192 DPI.
TEST_F(OrvprintDDlgWin32ViewTest, HighDpiNothingIsClipped)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    m_spConfig->m_bCanSelectNoProject = true;
    m_spConfig->m_strDefaultPrinter = L"三楼";
    m_spConfig->m_strDefaultProject = L"研发";
    FillThreePrinters();
    HWND hDlg = Start();
    ASSERT_NE(nullptr, hDlg);

    HDC hScreen = ::GetDC(nullptr);
    const int iDpi = ::GetDeviceCaps(hScreen, LOGPIXELSY);
    ::ReleaseDC(nullptr, hScreen);
    const char* szExpected = std::getenv("ORV_EXPECT_DPI");
    if (szExpected != nullptr && *szExpected != '\0') {
        EXPECT_EQ(std::atoi(szExpected), iDpi);
    }
    // The dialog font (9 points) and the dialog units follow the DPI.
    HFONT hFont = reinterpret_cast<HFONT>(::SendMessageW(hDlg, WM_GETFONT, 0, 0));
    LOGFONTW lf;
    ::GetObjectW(hFont, sizeof(lf), &lf);
    EXPECT_NEAR(9.0 * iDpi / 72.0, std::abs(lf.lfHeight), 1.0);

    auto textSize = [](HWND hControl, const std::wstring& strText) {
        HDC hDC = ::GetDC(hControl);
        HGDIOBJ hOld = ::SelectObject(hDC, reinterpret_cast<HFONT>(::SendMessageW(hControl, WM_GETFONT, 0, 0)));
        SIZE size = {0, 0};
        ::GetTextExtentPoint32W(hDC, strText.c_str(), static_cast<int>(strText.size()), &size);
        ::SelectObject(hDC, hOld);
        ::ReleaseDC(hControl, hDC);
        return size;
    };
    for (HWND h = ::GetWindow(hDlg, GW_CHILD); h != nullptr; h = ::GetWindow(h, GW_HWNDNEXT)) {
        wchar_t szClass[32] = {0};
        ::GetClassNameW(h, szClass, 32);
        const std::wstring strText = WindowText(h);
        if (!::IsWindowVisible(h) || strText.empty() || _wcsicmp(szClass, L"Edit") == 0) {
            continue;
        }
        RECT rc;
        ::GetClientRect(h, &rc);
        const SIZE size = textSize(h, strText);
        EXPECT_LE(size.cx, rc.right) << "control " << ::GetDlgCtrlID(h);
        EXPECT_LE(size.cy, rc.bottom) << "control " << ::GetDlgCtrlID(h);
    }
    HWND hCancel = ::GetDlgItem(hDlg, IDCANCEL);
    RECT rcCancel;
    ::GetClientRect(hCancel, &rcCancel);
    EXPECT_LE(textSize(hCancel, L"取消打印 (86400)").cx, rcCancel.right);

    // Both lists' closed fields hold a line of the dialog font; every
    // printer row holds its bold and its thin line.
    const int iLine = textSize(hDlg, L"中文").cy;
    HWND hPrinters = ::GetDlgItem(hDlg, IDC_PRINTER_SEL);
    EXPECT_GE(::SendMessageW(hPrinters, CB_GETITEMHEIGHT, static_cast<WPARAM>(-1), 0), iLine);
    EXPECT_GE(::SendMessageW(::GetDlgItem(hDlg, IDC_PROJECT_SEL), CB_GETITEMHEIGHT, static_cast<WPARAM>(-1), 0),
              iLine);
    const LRESULT lRow = ::SendMessageW(hPrinters, CB_GETITEMHEIGHT, 0, 0);
    EXPECT_GE(lRow, 2 * iLine);

    ::SendMessageW(hPrinters, CB_SHOWDROPDOWN, TRUE, 0);
    COMBOBOXINFO cbi;
    cbi.cbSize = sizeof(cbi);
    ASSERT_TRUE(::GetComboBoxInfo(hPrinters, &cbi));
    ::RedrawWindow(cbi.hwndList, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    RECT rcShot = WindowRect(hDlg);
    const RECT rcList = WindowRect(cbi.hwndList);
    if (rcList.bottom > rcShot.bottom) {
        rcShot.bottom = rcList.bottom;
    }
    const std::string strPercent = std::to_string(iDpi * 100 / 96);
    EXPECT_TRUE(SaveBmp(CaptureScreen(rcShot), ScreenshotFolder() + "\\win32-dialog-list-open-" + strPercent + ".bmp"));
    ::SendMessageW(hPrinters, CB_SHOWDROPDOWN, FALSE, 0);

    // Searching, as people see it.
    Chars(hPrinters, u"hp");
    ::RedrawWindow(hDlg, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    ::RedrawWindow(cbi.hwndList, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    EXPECT_TRUE(SaveBmp(CaptureScreen(rcShot), ScreenshotFolder() + "\\win32-dialog-search-" + strPercent + ".bmp"));
    Click(hDlg, IDCANCEL);
    Finish();
}

TEST(OrvprintDManifestTest, DeclaresPerMonitorDpiAwareness)
{
    // The program's resources (linked into this test as into OrvprintD.exe).
    HMODULE hModule = ::GetModuleHandleW(nullptr);
    HRSRC hInfo = ::FindResourceW(hModule, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24)); // RT_MANIFEST
    ASSERT_NE(nullptr, hInfo);
    const char* pText = static_cast<const char*>(::LockResource(::LoadResource(hModule, hInfo)));
    ASSERT_NE(nullptr, pText);
    const std::string strManifest(pText, ::SizeofResource(hModule, hInfo));
    EXPECT_NE(std::string::npos, strManifest.find(">true/pm</dpiAware>")) << strManifest;
    EXPECT_NE(std::string::npos, strManifest.find(">PerMonitorV2, PerMonitor</dpiAwareness>")) << strManifest;
}

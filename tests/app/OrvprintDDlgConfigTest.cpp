// The print-option dialog with its real settings: COrvConfig over a
// Config.ini in the client's "TempDir" folder.
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <gtest/gtest.h>
#include "app/FakeOrvprintDDlgView.h"
#include "support/JobRequestBuilder.h"
#include "app/OrvprintDDlg.h"
#include "language/MachineRegistryTestStore.h"
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"
#include "support/TempFolder.h"
#include "utility/PsFolder.h"

using orvtest::CFakeOrvprintDDlgView;
using orvtest::CJobRequestBuilder;

namespace {

class OrvprintDDlgConfigTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_store.Set(OrvUtility::CLIENT_REGISTRY_KEY, L"TempDir", Language::WideFromUtf8(m_tmp.Path()));
        m_request.Printer(u"P0", u"Canon").Printer(u"P1", u"HP LaserJet").Project(u"J1", u"Alpha").Project(
            u"J2", u"Beta");
    }

    int Run(std::function<void(CFakeOrvprintDDlgView&)> fnScript)
    {
        m_vecRequest = m_request.Build();
        m_uiRecvSize = m_vecRequest.size();
        m_uiRespSize = 44;
        COrvprintDDlg dlg(m_vecRequest.data(), &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize);
        dlg.SetViewFactory([this, fnScript](IOrvprintDDlgEvents& objEvents) {
            std::unique_ptr<CFakeOrvprintDDlgView> pView(new CFakeOrvprintDDlgView(objEvents));
            pView->m_fnScript = [this, fnScript](CFakeOrvprintDDlgView& v) {
                m_bProjectHidden = v.m_bProjectHidden;
                m_iPrinterSel = v.m_iPrinterSel;
                m_vecMessages = v.m_vecMessages;
                fnScript(v);
            };
            return std::unique_ptr<IOrvprintDDlgView>(std::move(pView));
        });
        // No config factory: the dialog makes its COrvConfig itself.
        return dlg.DoModal();
    }

    std::wstring Setting(const wchar_t* szKey) const
    {
        wchar_t szBuffer[300];
        Language::PrivateProfileGetString(L"Setting", szKey, L"<none>", szBuffer, 300,
                                          Language::WideFromUtf8(m_tmp.File("Config.ini")).c_str());
        return szBuffer;
    }

    orvtest::MachineRegistryTestStore m_store;
    orvtest::TempFolder m_tmp;
    CJobRequestBuilder m_request;
    std::vector<uint8_t> m_vecRequest;
    uint64_t m_uiRecvSize = 0;
    std::array<uint8_t, 44> m_abyReply{};
    uint64_t m_uiRespSize = 0;
    bool m_bProjectHidden = false;
    int m_iPrinterSel = -2;
    std::vector<std::wstring> m_vecMessages;
};

} // namespace

TEST_F(OrvprintDDlgConfigTest, SettingsDriveTheDialogAndOkSavesTheDefaults)
{
    m_tmp.WriteFile("Config.ini",
                    "[Setting]\r\nDisplayProjectSelection=0\r\nCanSelectNoPrinter=0\r\nCanSelectNoProject=0\r\n"
                    "DefaultPrinter=hp\r\nDefaultProject=\r\n");
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([](CFakeOrvprintDDlgView& v) {
                  v.SelectProject(1);
                  v.ClickOk();
              }));
    EXPECT_TRUE(m_bProjectHidden);
    EXPECT_EQ(1, m_iPrinterSel);
    EXPECT_TRUE(m_vecMessages.empty());
    // Written back when the dialog (and with it the configuration) is gone.
    EXPECT_EQ(L"HP LaserJet", Setting(L"DefaultPrinter"));
    EXPECT_EQ(L"Beta", Setting(L"DefaultProject"));
    EXPECT_EQ(L"0", Setting(L"DisplayProjectSelection"));
}

TEST_F(OrvprintDDlgConfigTest, CancelLeavesTheFileAlone)
{
    const std::string strContent = "[Setting]\r\nDefaultPrinter=Canon\r\n";
    m_tmp.WriteFile("Config.ini", strContent);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](CFakeOrvprintDDlgView& v) { v.ClickCancel(); }));
    EXPECT_EQ(0, m_iPrinterSel);
    EXPECT_FALSE(m_bProjectHidden);
    EXPECT_EQ(strContent, m_tmp.ReadFile("Config.ini"));
}

TEST_F(OrvprintDDlgConfigTest, MissingClientFolderTellsTheUser)
{
    m_store.Remove(OrvUtility::CLIENT_REGISTRY_KEY, L"TempDir");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](CFakeOrvprintDDlgView& v) {
                  EXPECT_FALSE(v.m_bInitResult);
                  EXPECT_TRUE(v.m_vecPrinters.empty());
                  v.ClickCancel();
              }));
    ASSERT_EQ(1u, m_vecMessages.size());
    EXPECT_EQ(L"读取配置文件失败。", m_vecMessages[0]);
}

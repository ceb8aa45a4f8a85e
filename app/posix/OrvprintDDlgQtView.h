#pragma once

#include <functional>
#include <string>
#include <QDialog>
#include "app/IOrvprintDDlgEvents.h"
#include "app/IOrvprintDDlgView.h"

class QGroupBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QComboBox;
class CMyComboBox;

// The print-option dialog as a Qt Widgets window: the controls of dialog
// template 102 at the template's positions, converted from dialog units with
// the dialog font (x px = du * average character width / 4, y px = du *
// character height / 8). Top-most, shown on the task bar, modal through
// QDialog::exec(). Escape and the close box cancel.
class COrvprintDDlgQtView : public QDialog, public IOrvprintDDlgView {
public:
    // Shows a message box (OK only) with the application title as caption.
    // Tests replace it to answer the box themselves; an empty handler
    // restores the QMessageBox.
    typedef std::function<void(QWidget* pParent, const QString& strCaption, const QString& strText)>
        MessageBoxHandler;
    static void SetMessageBoxHandler(MessageBoxHandler fnHandler);

    explicit COrvprintDDlgQtView(IOrvprintDDlgEvents& objEvents);
    ~COrvprintDDlgQtView() override;

    // IOrvprintDDlgView
    int RunModal() override;
    void EndDialog(int iResult) override;
    void ClearPrinterEdit() override;
    int AddPrinterItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled) override;
    int AddProjectItem(const std::wstring& strText) override;
    int GetItemCount(EList eList) const override;
    std::wstring GetItemText(EList eList, int iIndex) const override;
    void SetCurSel(EList eList, int iIndex) override;
    int GetCurSel(EList eList) const override;
    void SetDetailsText(EList eList, const std::wstring& strText) override;
    void EnableOk(bool bEnable) override;
    void HideProjectSection() override;
    void ShowMessageBox(const std::wstring& strText) override;

    // Moves a control by dx, dy pixels.
    void MoveControl(QWidget* pControl, int dx, int dy);

    // Dialog units to pixels with the dialog font.
    int DluToPixelsX(int iDluX) const;
    int DluToPixelsY(int iDluY) const;

    // The controls, by their template ids.
    QPushButton* OkButton() const { return m_pOk; }
    QPushButton* CancelButton() const { return m_pCancel; }
    CMyComboBox* PrinterCombo() const { return m_pPrinterCombo; }
    QComboBox* ProjectCombo() const { return m_pProjectCombo; }
    QPlainTextEdit* PrinterDetails() const { return m_pPrinterDetails; }
    QPlainTextEdit* ProjectDetails() const { return m_pProjectDetails; }
    QGroupBox* ProjectGroup() const { return m_pProjectGroup; }
    QLabel* ProjectLabel() const { return m_pProjectLabel; }
    QLabel* ProjectDetailsLabel() const { return m_pProjectDetailsLabel; }
    QGroupBox* Marker() const { return m_pMarker; }

    static const wchar_t* const APPLICATION_TITLE;

protected:
    // Escape and the close box come here: the presenter decides.
    void reject() override;

private:
    QRect DluRect(int x, int y, int cx, int cy) const;
    void PlaceCombo(QComboBox* pCombo, int x, int y, int cx);

    IOrvprintDDlgEvents& m_objEvents;
    int m_iBaseUnitX;
    int m_iBaseUnitY;

    QPushButton* m_pOk;
    QPushButton* m_pCancel;
    CMyComboBox* m_pPrinterCombo;
    QComboBox* m_pProjectCombo;
    QLabel* m_pProjectLabel;
    QPlainTextEdit* m_pPrinterDetails;
    QPlainTextEdit* m_pProjectDetails;
    QGroupBox* m_pProjectGroup;
    QLabel* m_pProjectDetailsLabel;
    QGroupBox* m_pMarker;
};

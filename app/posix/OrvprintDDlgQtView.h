#pragma once

#include <functional>
#include <string>
#include <vector>
#include <QDialog>
#include <QTimer>
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
    void ShowListItems(EList eList, const std::vector<int>& vecIndexes, int iSelRow,
                       const std::wstring& strTyped) override;
    void SetCancelText(const std::wstring& strText) override;
    void StartTimer(unsigned int uiMilliseconds) override;
    void StopTimer() override;

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
    QComboBox* List(EList eList) const;
    // The typed text shown over a list's field (hidden while nothing is typed).
    QLabel* SearchLabel(EList eList) const { return m_apSearch[eList]; }
    // The auto-cancel's timer (tests fire it by hand with a clock of their own).
    QTimer* AutoCancelTimer() { return &m_timer; }

    static const wchar_t* const APPLICATION_TITLE;

protected:
    // Escape and the close box come here: the presenter decides.
    void reject() override;
    // Type to search on the two lists and their open lists; while the
    // dialog runs, every key, click and input-method commit is reported.
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    QRect DluRect(int x, int y, int cx, int cy) const;
    void PlaceCombo(QComboBox* pCombo, int x, int y, int cx);
    // Lets input methods commit text into the list and its open list.
    void WatchList(QComboBox* pCombo);
    // The list (combo or its open list) an object belongs to; -1 for none.
    int ListOf(QObject* pObject) const;
    bool HandleListKey(EList eList, QEvent* pEvent);
    void ShowTyped(EList eList, const QString& strTyped);

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

    // Every item as added, to show a part of them while text is typed.
    std::vector<QString> m_avecTexts[2];
    std::vector<quintptr> m_vecPrinterData;
    QLabel* m_apSearch[2];
    bool m_bRebuilding;
    QTimer m_timer;
};

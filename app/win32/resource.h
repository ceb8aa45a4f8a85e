// Resource ids of OrvprintD (OrvprintD.rc).
#pragma once

#define IDR_MAINFRAME                   128
#define IDD_ORVPRINTD_DIALOG            102

#define IDC_PRINTER_SEL                 1001
#define IDC_PROJECT_SEL                 1003
#define IDC_PRINTER_DETAILS             1004
#define IDC_PROJECT_DETAILS             1005
#define IDC_PROJECT_GROUP               1006
#define IDC_PROJECT_LABEL               1007
#define IDC_PROJECT_DETAILS_LABEL       1008
#define IDC_PROJECT_MARKER              1009

#ifndef IDC_STATIC
#define IDC_STATIC                      (-1)
#endif

// Made by the window at run time, not in the template.
#define IDC_PRINTER_SEARCH              1010
#define IDC_PROJECT_SEARCH              1011
#define IDT_AUTO_CANCEL                 1

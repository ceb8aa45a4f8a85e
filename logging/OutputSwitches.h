#pragma once

// The four output switches of one log category (or, for FATAL records, of
// one module), as set by the Output* keys of LogConfig.conf.
struct OutputSwitches {
    bool bOutputParam = false;         // "Param" records
    bool bOutputFunBeginInfo = false;  // function begin and end lines
    bool bOutputNTEventLog = false;    // copy of FATAL records to the event log
    bool bOutputNDCFullmessage = false; // call-stack dump after FATAL, ERROR, DEBUG
};

#pragma once

// Id of the calling thread as printed in every record ("[ThreadID:%lu]"):
// GetCurrentThreadId on Windows, the kernel thread id on Linux.
unsigned long LogThreadId();

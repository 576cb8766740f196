// What differs from system to system: the thread slot, the modal question, the end without a context. One file for each
// system.
#pragma once

struct MoxThreadContext;

// The slot that holds each thread's context. Opening gives false where the system has none left. The context of a
// thread that ends is handed to ownFreeContext.
bool ownOpenSlot();
void ownCloseSlot();
MoxThreadContext *ownReadSlot();
bool ownWriteSlot(MoxThreadContext *context);

// Zero-filled memory for a context, not from the heap that applications use; and its end.
void *ownAllocateContext(unsigned long size);
void ownReleaseContext(void *memory);

// What the slot's owner does with a context at the end of its thread.
void ownFreeContext(MoxThreadContext *context);

// Ends the process with a message, with no context to report through.
[[noreturn]] void ownFatalExit(const char *message);

// The modal questions: "Terminate?" with Yes and No, true for Yes; "Continue?" with OK and Cancel, true for OK. And the
// last word before the process ends.
bool ownAskTerminate(const char *title, const char *text);
bool ownAskContinue(const char *title, const char *text);
void ownTellTermination(const char *title, const char *text);

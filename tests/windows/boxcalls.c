/*
 * The message box as the library asks for it: owner, text, title and flags to the letter, and what each answer does.
 * The system's box is replaced by one that answers at once; a process that ends is one of our own children.
 */
#include <stdlib.h>
#include <string.h>

#include "library.h"

#define TITLE "MOX 2.5 Release SP1"
#define LEAF_TAIL "\n\nErrMode=MOX_ErrorModeLeaf\n\nTerminate the application?"
#define PARENT_TAIL "\n\nErrMode=MOX_ErrorModeParent\n\nContinue?"
#define BODY "In function moxAdd(): [file moxadd.cpp, line 42]\nsrcImageA==0\n\nBad argument\n(status: -5)"

static int boxes, answer;
static struct {
    HWND owner;
    char text[400], title[100];
    UINT flags;
} shown[3];

static int WINAPI answerBox(HWND owner, LPCSTR text, LPCSTR title, UINT flags) {
    if (boxes < 3) {
        shown[boxes].owner = owner;
        snprintf(shown[boxes].text, sizeof shown[0].text, "%s", text);
        snprintf(shown[boxes].title, sizeof shown[0].title, "%s", title);
        shown[boxes].flags = flags;
    }
    boxes++;
    return answer;
}

static void checkBox(int box, const char *text, const char *title, UINT flags) {
    EXPECT(shown[box].owner == NULL);
    EXPECT(strcmp(shown[box].text, text) == 0);
    EXPECT(strcmp(shown[box].title, title) == 0);
    EXPECT(shown[box].flags == flags);
}

static void(__stdcall *setMode)(int);
static ReportFunction guiBoxReport;

static int ask(int mode, int status, int pressed) {
    setMode(mode);
    boxes = 0;
    answer = pressed;
    return guiBoxReport(status, "moxAdd", "srcImageA==0", "moxadd.cpp", 42);
}

/* The exit handler of a child sees the boxes; its exit code tells. */
static int endMode;
static void atEnd(void) {
    checkBox(0, endMode == 0 ? BODY LEAF_TAIL : BODY PARENT_TAIL, TITLE, endMode == 0 ? 0x2014 : 0x2011);
    checkBox(1, "MOX Library: terminating the application", "Win32: Application exit", 0x2040);
    EXPECT(boxes == 2);
    if (failures != 0) ExitProcess(9);
}

static DWORD runChild(const char *program, int mode, int pressed) {
    char line[600];
    STARTUPINFOA start = {.cb = sizeof start};
    PROCESS_INFORMATION process;
    DWORD code = 99;
    snprintf(line, sizeof line, "\"%s\" %d %d", program, mode, pressed);
    if (!CreateProcessA(NULL, line, NULL, NULL, FALSE, 0, NULL, NULL, &start, &process)) return 98;
    if (WaitForSingleObject(process.hProcess, 30000) != WAIT_OBJECT_0) TerminateProcess(process.hProcess, 97);
    GetExitCodeProcess(process.hProcess, &code);
    return code;
}

int main(int count, char **words) {
    HMODULE library = loadLibrary();
    char program[MAX_PATH];
    int mode;
    setMode = (void(__stdcall *)(int))function(library, "moxSetErrMode");
    guiBoxReport = (ReportFunction)function(library, "moxGuiBoxReport");
    EXPECT(replaceImport(library, "MessageBoxA", (AnyFunction)answerBox) != NULL);
    if (count == 3) {
        endMode = atoi(words[1]);
        atexit(atEnd);
        ask(endMode, -5, atoi(words[2]));
        return 42;
    }

    EXPECT(ask(0, -5, IDNO) == -5 && boxes == 1);
    checkBox(0, BODY LEAF_TAIL, TITLE, 0x2014);
    EXPECT(ask(1, -5, IDOK) == -5 && boxes == 1);
    checkBox(0, BODY PARENT_TAIL, TITLE, 0x2011);
    EXPECT(ask(1, -1, IDOK) == -1);
    checkBox(0, "Called from moxAdd(): [file moxadd.cpp, line 42]\nsrcImageA==0\n\nBacktrace\n(status: -1)" PARENT_TAIL,
             TITLE, 0x2011);
    EXPECT(guiBoxReport(-4, NULL, "", NULL, -3) == -4);
    checkBox(1, "In function <unknown>(): [file , line 0]\n\n\nInsufficient memory\n(status: -4)" PARENT_TAIL, TITLE,
             0x2011);
    for (mode = -1; mode <= 7; mode++)
        if (mode != 0 && mode != 1) EXPECT(ask(mode, -5, IDCANCEL) == -5 && boxes == 0);

    GetModuleFileNameA(NULL, program, sizeof program);
    EXPECT(runChild(program, 0, IDYES) == 1);
    EXPECT(runChild(program, 1, IDCANCEL) == 1);
    return finish("boxcalls");
}

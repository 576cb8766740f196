/*
 * Real message boxes: a child asks, this program finds the box on the screen, reads its words, and presses a button.
 * Needs a screen.
 */
#include <stdlib.h>
#include <string.h>

#include "library.h"

#define TITLE "MOX 2.5 Release SP1"
#define BODY "In function moxAdd(): [file moxadd.cpp, line 42]\nsrcImageA==0\n\nBad argument\n(status: -5)"
enum { WENT_ON = 42 };

static int runAsChild(int mode) {
    HMODULE library = loadLibrary();
    /* A task-modal box takes the other windows of its thread out of the user's reach. */
    HWND other = CreateWindowA("STATIC", "MOX test window", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 50, 50, NULL, NULL,
                               NULL, NULL);
    EXPECT(other != NULL);
    ((void(__stdcall *)(int))function(library, "moxSetErrMode"))(mode);
    if (((ReportFunction)function(library, "moxGuiBoxReport"))(-5, "moxAdd", "srcImageA==0", "moxadd.cpp", 42) != -5)
        return 43;
    EXPECT(IsWindowEnabled(other));
    return failures ? 44 : WENT_ON;
}

static HWND waitForWindow(const char *title) {
    int tries;
    for (tries = 0; tries < 300; tries++) {
        HWND box = FindWindowA("#32770", title);
        if (box && IsWindowVisible(box)) return box;
        Sleep(50);
    }
    printf("no box \"%s\"\n", title);
    failures++;
    return NULL;
}

/* Is there a text of the box's that reads so? */
static int hasText(HWND box, const char *text) {
    HWND part = NULL;
    static char words[1000];
    while ((part = FindWindowExA(box, part, "Static", NULL)) != NULL) {
        SendMessageA(part, WM_GETTEXT, sizeof words, (LPARAM)words);
        if (strcmp(words, text) == 0) return 1;
    }
    return 0;
}

static int buttons(HWND box) {
    int count = 0;
    HWND part = NULL;
    while ((part = FindWindowExA(box, part, "Button", NULL)) != NULL)
        if (IsWindowVisible(part)) count++;
    return count;
}

static void press(HWND box, int button) {
    HWND part = GetDlgItem(box, button);
    EXPECT(part != NULL);
    PostMessageA(box, WM_COMMAND, (WPARAM)MAKELONG(button, BN_CLICKED), (LPARAM)part);
}

static void checkAnswer(const char *program, int mode, int pressed, DWORD expected) {
    char line[600];
    STARTUPINFOA start = {.cb = sizeof start};
    PROCESS_INFORMATION process;
    DWORD code = 99;
    HWND box;
    snprintf(line, sizeof line, "\"%s\" %d", program, mode);
    EXPECT(CreateProcessA(NULL, line, NULL, NULL, FALSE, 0, NULL, NULL, &start, &process));
    box = waitForWindow(TITLE);
    if (box) {
        HWND other = FindWindowA("Static", "MOX test window");
        EXPECT(hasText(box, mode == 0 ? BODY "\n\nErrMode=MOX_ErrorModeLeaf\n\nTerminate the application?"
                                      : BODY "\n\nErrMode=MOX_ErrorModeParent\n\nContinue?"));
        EXPECT(buttons(box) == 2);
        EXPECT(GetDlgItem(box, mode == 0 ? IDYES : IDOK) && GetDlgItem(box, mode == 0 ? IDNO : IDCANCEL));
        EXPECT(other && !IsWindowEnabled(other));
        press(box, pressed);
    }
    if (box && expected == 1) {
        box = waitForWindow("Win32: Application exit");
        if (box) {
            EXPECT(hasText(box, "MOX Library: terminating the application"));
            EXPECT(buttons(box) == 1);
            press(box, IDOK);
        }
    }
    if (WaitForSingleObject(process.hProcess, 15000) != WAIT_OBJECT_0) TerminateProcess(process.hProcess, 97);
    GetExitCodeProcess(process.hProcess, &code);
    if (code != expected) {
        printf("mode %d, button %d: exit code %lu\n", mode, pressed, code);
        failures++;
    }
}

int main(int count, char **words) {
    char program[MAX_PATH];
    if (count == 2) return runAsChild(atoi(words[1]));
    GetModuleFileNameA(NULL, program, sizeof program);
    checkAnswer(program, 0, IDNO, WENT_ON);
    checkAnswer(program, 0, IDYES, 1);
    checkAnswer(program, 1, IDOK, WENT_ON);
    checkAnswer(program, 1, IDCANCEL, 1);
    return finish("box");
}

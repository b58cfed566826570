#include "tools/slabtool/runs/judge_file.h"

#include "tools/slabtool/runs/files.h"

#include <new>

Judgment judgeFile(const std::string& path, bool alphaOnly) {
    try {
        return judgeImage(path, readFile(path), alphaOnly);
    } catch (const Rejection& rejection) {
        return {kRejected, "", Finding{kUnreadable, rejection.what()}};
    } catch (const std::bad_alloc&) {
        return {kRejected, "", kNoMemory};
    }
}

#include "mkMicroKernel/mkPythonRegister.h"

#include "mkKernel/mkScript.h"
#include "mkUtils/mkLog.h"

#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

namespace {

using Entry = std::pair<const mkPythonRegister *, mkPythonRegisterFactory::Function>;

std::vector<Entry> &registered()
{
    static std::vector<Entry> all;
    return all;
}

} // namespace

void mkPythonRegisterFactory::run(Level level)
{
    const auto all = registered();
    for (const Entry &entry : all) {
        try {
            entry.second(level);
        } catch (const std::exception &failure) {
            mkLog::error("mkPythonRegisterFactory::run: Level %d failed: %s", int(level),
                         failure.what());
        } catch (...) {
            mkLog::error("mkPythonRegisterFactory::run: Level %d failed!", int(level));
        }
    }
    if (level == AfterInterpreter) {
        mkScript::keepNames();
    }
}

mkPythonRegister::mkPythonRegister(mkPythonRegisterFactory::Function function)
{
    registered().emplace_back(this, std::move(function));
}

mkPythonRegister::~mkPythonRegister()
{
    auto &all = registered();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [this](const Entry &entry) { return entry.first == this; }),
              all.end());
}

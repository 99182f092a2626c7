// Does something on every way out of a block, an exception's too.
#pragma once

#include <utility>

namespace diskmgt::serve {

template <typename Work>
class AtEnd {
public:
    explicit AtEnd(Work whatToDo) : work(std::move(whatToDo)) {}
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() { work(); }  // that throws ends the process, which is started again

private:
    const Work work;
};

}  // namespace diskmgt::serve

// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>
#include <utility>

namespace kestrum {

/// An accessible object that finds its children by asking for one after the other. `Base` is an interface of the toolkit's.
template <class Base> class AccessibleParent : public Base {
public:
    template <class... Arguments>
    explicit AccessibleParent(Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...)
    {
    }

    QAccessibleInterface* childAt(int x, int y) const override
    {
        for (int i = 0; i < this->childCount(); ++i) {
            if (this->child(i)->rect().contains(x, y))
                return this->child(i);
        }
        return nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (int i = 0; i < this->childCount(); ++i) {
            if (this->child(i) == child)
                return i;
        }
        return -1;
    }
};

} // namespace kestrum

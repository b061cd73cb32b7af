#include "ulk/util/ObservableSingleMixin.h"
#include "ulk/util/ObserverInterface.h"

#include <gtest/gtest.h>

using ulk::util::ObservableInterface;
using ulk::util::ObservableSingleMixin;
using ulk::util::ObserverInterface;

namespace {

struct Subject : public virtual ObservableInterface, public virtual ObservableSingleMixin {};

struct Observer : public ObserverInterface {
    void update(ObservableInterface& subject) override {
        ++nbr;
        last = &subject;
    }
    int nbr = 0;
    ObservableInterface* last = nullptr;
};

} // namespace

TEST(ObservableSingleMixinTest, WithoutAnObserverNothingHappens) {
    Subject subject;
    subject.notify_observers();
    Observer a;
    subject.remove_observer(a);
    subject.notify_observers();
    EXPECT_EQ(0, a.nbr);
}

TEST(ObservableSingleMixinTest, TheObserverGetsTheSubjectInsideTheCall) {
    Subject subject;
    Observer a;
    subject.add_observer(a);
    EXPECT_EQ(0, a.nbr);
    subject.notify_observers();
    EXPECT_EQ(1, a.nbr);
    EXPECT_EQ(static_cast<ObservableInterface*>(&subject), a.last);
    subject.remove_observer(a);
    subject.notify_observers();
    EXPECT_EQ(1, a.nbr);
}

TEST(ObservableSingleMixinTest, ASecondObserverReplacesTheFirst) {
    Subject subject;
    Observer a;
    Observer b;
    subject.add_observer(a);
    subject.add_observer(b);
    subject.remove_observer(a); // not registered any more: b stays
    subject.notify_observers();
    EXPECT_EQ(0, a.nbr);
    EXPECT_EQ(1, b.nbr);
}

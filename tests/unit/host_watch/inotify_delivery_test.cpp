// How the provider delivers: one event at a time on its own thread, references on receivers,
// and Unsubscribe from other threads and from inside OnEvent.
#include <gtest/gtest.h>
#include <sys/inotify.h>

#include <atomic>
#include <set>
#include <thread>

#include "watch_fixture.h"

namespace tti::test {
namespace {

constexpr uint32_t kCreated = 7;

orv::types::string8_t Text(const std::string& text) { return orv::types::string8_t(text.c_str()); }

// Subscribe fails only for an empty path or the switch; one reference per subscription, all
// released by Unsubscribe and by the provider's end, and shared watches outlive one subscriber.
TEST(InotifyDelivery, Subscribe_FailuresAndReferences) {
  TempDir temporary;
  auto provider = MakeObject<InotifyEventsProvider>();
  auto kept = MakeObject<RecordingReceiver>();
  auto other = MakeObject<RecordingReceiver>();
  EXPECT_EQ(provider->Subscribe(kept.get(), Text(""), IN_CREATE), orv::errors::kInvalidArgument);
  EXPECT_EQ(provider->Subscribe(kept.get(), Text("/no/such/place/at/all"), IN_CREATE), 0);
  EXPECT_EQ(provider->Subscribe(kept.get(), Text("relative/missing"), IN_CREATE), 0);
  EXPECT_EQ(provider->Subscribe(kept.get(), Text(temporary.path()), 0), 0);
  ASSERT_EQ(provider->Subscribe(other.get(), Text(temporary.path()), IN_CREATE), 0);
  provider->FailSubscribeWith(orv::errors::kOutOfMemory);
  EXPECT_EQ(provider->Subscribe(kept.get(), Text(temporary.path()), IN_CREATE),
            orv::errors::kOutOfMemory);
  EXPECT_EQ(provider->subscriptions(), 4u);
  EXPECT_EQ(kept->references(), 4u);
  EXPECT_EQ(other->references(), 2u);
  ASSERT_EQ(provider->Unsubscribe(kept.get()), 0);
  EXPECT_EQ(kept->references(), 1u);
  EXPECT_EQ(provider->subscriptions(), 1u);
  WriteFile(temporary.path() + "/after");
  EXPECT_TRUE(other->WaitFor(temporary.path() + "/after", kCreated));
  EXPECT_EQ(kept->count(), 0u);
  ASSERT_EQ(provider->Unsubscribe(other.get()), 0);
  EXPECT_EQ(provider->watches(), 0u);
  provider->FailSubscribeWith(0);
  ASSERT_EQ(provider->Subscribe(other.get(), Text(temporary.path()), IN_CREATE), 0);
  provider.reset();
  EXPECT_EQ(other->references(), 1u);
}

// Many files from two threads, each event delivered to two subscriptions of one receiver and to
// a second receiver: never two OnEvent calls at once, all on one provider thread.
TEST(InotifyDelivery, Deliver_OneAtATimeOnOneThread) {
  TempDir temporary;
  auto provider = MakeObject<InotifyEventsProvider>();
  auto first = MakeObject<RecordingReceiver>();
  auto second = MakeObject<RecordingReceiver>();
  std::atomic<int> insideAny{0};
  std::atomic<bool> overlapped{false};
  for (RecordingReceiver* receiver : {first.get(), second.get()}) {
    receiver->spin = true;
    receiver->onEvent = [&](const qel::InotifyEvent&) {
      if (insideAny.fetch_add(1) != 0) {
        overlapped = true;
      }
      std::this_thread::yield();
      insideAny.fetch_sub(1);
    };
  }
  ASSERT_EQ(provider->Subscribe(first.get(), Text(temporary.path()), IN_CREATE), 0);
  ASSERT_EQ(provider->Subscribe(first.get(), Text(temporary.path() + "/"), IN_CREATE), 0);
  ASSERT_EQ(provider->Subscribe(second.get(), Text(temporary.path()), IN_CREATE), 0);
  constexpr int kPerThread = 100;
  auto writer = [&](const std::string& prefix) {
    for (int i = 0; i < kPerThread; ++i) {
      WriteFile(temporary.path() + "/" + prefix + std::to_string(i));
    }
  };
  std::thread one(writer, "a");
  std::thread two(writer, "b");
  one.join();
  two.join();
  EXPECT_TRUE(Eventually([&] { return first->count() == 4 * kPerThread; }));
  EXPECT_TRUE(Eventually([&] { return second->count() == 2 * kPerThread; }));
  EXPECT_FALSE(overlapped);
  EXPECT_FALSE(first->overlapped);
  std::set<std::thread::id> threads;
  for (RecordingReceiver* receiver : {first.get(), second.get()}) {
    for (const std::thread::id id : receiver->threads()) {
      threads.insert(id);
    }
  }
  EXPECT_EQ(threads.size(), 1u);
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 0u);
  provider->Unsubscribe(first.get());
  provider->Unsubscribe(second.get());
}

// Unsubscribe from another thread while events flow: when it returns, no OnEvent runs and none
// starts later, and the provider holds no reference.
TEST(InotifyDelivery, Unsubscribe_FromAnotherThreadWhileEventsFlow) {
  TempDir temporary;
  auto provider = MakeObject<InotifyEventsProvider>();
  auto receiver = MakeObject<RecordingReceiver>();
  receiver->spin = true;
  std::atomic<bool> unsubscribed{false};
  std::atomic<bool> lateEvent{false};
  receiver->onEvent = [&](const qel::InotifyEvent&) {
    if (unsubscribed) {
      lateEvent = true;
    }
  };
  ASSERT_EQ(provider->Subscribe(receiver.get(), Text(temporary.path()), IN_CREATE | IN_MODIFY), 0);
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    for (int i = 0; !stop; ++i) {
      WriteFile(temporary.path() + "/" + std::to_string(i % 50), std::to_string(i));
    }
  });
  ASSERT_TRUE(Eventually([&] { return receiver->count() >= 20; }));
  ASSERT_EQ(provider->Unsubscribe(receiver.get()), 0);
  EXPECT_EQ(receiver->inside.load(), 0);
  EXPECT_EQ(receiver->references(), 1u);
  unsubscribed = true;
  const size_t countAtReturn = receiver->count();
  // Later events still flow to another receiver; ours gets none of them.
  auto witness = MakeObject<RecordingReceiver>();
  ASSERT_EQ(provider->Subscribe(witness.get(), Text(temporary.path()), IN_CREATE | IN_MODIFY), 0);
  EXPECT_TRUE(Eventually([&] { return witness->count() >= 20; }));
  stop = true;
  writer.join();
  EXPECT_FALSE(lateEvent);
  EXPECT_EQ(receiver->count(), countAtReturn);
  provider->Unsubscribe(witness.get());
}

// Unsubscribe from inside OnEvent returns at once; no later event reaches the receiver, and the
// references go once OnEvent returned.
TEST(InotifyDelivery, Unsubscribe_FromInsideOnEvent) {
  TempDir temporary;
  auto provider = MakeObject<InotifyEventsProvider>();
  auto receiver = MakeObject<RecordingReceiver>();
  std::atomic<int> unsubscribeResult{-1};
  receiver->onEvent = [&](const qel::InotifyEvent&) {
    if (unsubscribeResult == -1) {
      unsubscribeResult = provider->Unsubscribe(receiver.get());
    }
  };
  ASSERT_EQ(provider->Subscribe(receiver.get(), Text(temporary.path()), IN_CREATE), 0);
  ASSERT_EQ(provider->Subscribe(receiver.get(), Text(temporary.path() + "/"), IN_CREATE), 0);
  auto witness = MakeObject<RecordingReceiver>();
  ASSERT_EQ(provider->Subscribe(witness.get(), Text(temporary.path()), IN_CREATE), 0);
  for (int i = 0; i < 10; ++i) {
    WriteFile(temporary.path() + "/" + std::to_string(i));
  }
  ASSERT_TRUE(witness->WaitFor(temporary.path() + "/9", kCreated));
  EXPECT_EQ(unsubscribeResult.load(), 0);
  EXPECT_EQ(receiver->count(), 1u);
  EXPECT_TRUE(Eventually([&] { return receiver->references() == 1u; }));
  EXPECT_EQ(provider->subscriptions(), 1u);
  provider->Unsubscribe(witness.get());
}

}  // namespace
}  // namespace tti::test

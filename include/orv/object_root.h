#pragma once

#include <cstddef>

#include "orv/intrusive_ptr.h"
#include "orv/object.h"
#include "orv/service.h"
#include "orv/tracer.h"

namespace orv {

// What an object holds from the host is chosen by its root class. Each provider fetches its service
// from the locator at construction and throws orv::GetInterfaceException when it cannot.

class AllocatorProvider {
 public:
  explicit AllocatorProvider(IServiceLocator* locator)
      : m_allocator(GetRequiredInterface<IAllocator>(locator)) {}
  IAllocator* GetAllocator() const noexcept { return m_allocator.get(); }

 private:
  intrusive_ptr<IAllocator> m_allocator;
};

class TracerProvider {
 public:
  explicit TracerProvider(IServiceLocator* locator)
      : m_tracer(GetRequiredInterface<ITracer>(locator)) {}
  // Takes the caller's tracer (may be null).
  explicit TracerProvider(ITracer* tracer) noexcept : m_tracer(tracer) {}
  ITracer* GetTracer() const noexcept { return m_tracer.get(); }

 private:
  intrusive_ptr<ITracer> m_tracer;
};

class ServiceLocatorProvider {
 public:
  explicit ServiceLocatorProvider(IServiceLocator* locator) noexcept : m_serviceLocator(locator) {}
  IServiceLocator* GetServiceLocator() const noexcept { return m_serviceLocator.get(); }

 private:
  intrusive_ptr<IServiceLocator> m_serviceLocator;
};

class NoServiceStrategy {
 public:
  NoServiceStrategy() noexcept = default;
  explicit NoServiceStrategy(IServiceLocator*) noexcept {}
};

template <class Provider>
class ServiceStrategyAdapter : public Provider {
 public:
  using Provider::Provider;
};

namespace detail {
// Lets one strategy appear more than once among the bases of a composite.
template <size_t Index, class Strategy>
class StrategySlot : public Strategy {
 public:
  explicit StrategySlot(IServiceLocator* locator) : Strategy(locator) {}
};
}  // namespace detail

// Members constructed in order: the first failure throws and leaves nothing held.
template <class S1, class S2 = NoServiceStrategy, class S3 = NoServiceStrategy,
          class S4 = NoServiceStrategy, class S5 = NoServiceStrategy>
class CompositeServiceStrategyHelper : public detail::StrategySlot<0, S1>,
                                       public detail::StrategySlot<1, S2>,
                                       public detail::StrategySlot<2, S3>,
                                       public detail::StrategySlot<3, S4>,
                                       public detail::StrategySlot<4, S5> {
 public:
  explicit CompositeServiceStrategyHelper(IServiceLocator* locator)
      : detail::StrategySlot<0, S1>(locator),
        detail::StrategySlot<1, S2>(locator),
        detail::StrategySlot<2, S3>(locator),
        detail::StrategySlot<3, S4>(locator),
        detail::StrategySlot<4, S5>(locator) {}
};

template <class Strategy>
class ObjectRootEx : public Strategy {
 public:
  explicit ObjectRootEx(IServiceLocator* locator) : Strategy(locator) {}
  ObjectRootEx() = default;
};

// The root of the module's service objects: allocator, tracer and the locator, in that order.
using StandardObjectRoot = ObjectRootEx<CompositeServiceStrategyHelper<
    ServiceStrategyAdapter<AllocatorProvider>, ServiceStrategyAdapter<TracerProvider>,
    ServiceStrategyAdapter<ServiceLocatorProvider>, NoServiceStrategy, NoServiceStrategy>>;

}  // namespace orv

// The parts that every COM class of the simulated suite shares: reference count, interface query, class factory.
#pragma once

#include <atomic>
#include <new>

#include <windows.h>

#include <unknwn.h>

// How many COM objects and server locks the process holds; whoever serves them decides what the last one means.
class ComObjectCount {
  public:
    static void Add() { s_count.fetch_add(1, std::memory_order_relaxed); }
    static void Remove() {
        const auto onLast = s_onLast.load(std::memory_order_acquire);
        if (s_count.fetch_sub(1, std::memory_order_acq_rel) == 1 && onLast)
            onLast();
    }
    static bool IsNone() { return s_count.load(std::memory_order_acquire) == 0; }
    // Called on the thread that gives the last one up; may be null.
    static void OnLast(void (*callback)()) { s_onLast = callback; }

  private:
    static inline std::atomic<long> s_count{0};
    static inline std::atomic<void (*)()> s_onLast{nullptr};
};

// Reference count and interface query of an object. Interface is the COM interface that Base derives from and that
// callers ask for; More are further bases of it that they may ask for. Born with one reference.
template <class Base, class Interface, class... More> class ComObject : public Base {
  public:
    ComObject() { ComObjectCount::Add(); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (!IsEqualIID(iid, __uuidof(IUnknown)) && !IsEqualIID(iid, __uuidof(Interface)) &&
            !(IsEqualIID(iid, __uuidof(More)) || ...))
            return E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete this;
        return left;
    }

  protected:
    virtual ~ComObject() { ComObjectCount::Remove(); }

  private:
    std::atomic<ULONG> m_references{1};
};

// Makes objects of the class Object, which has a default constructor.
template <class Object> class ComClassFactory : public ComObject<IClassFactory, IClassFactory> {
  public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (outer)
            return CLASS_E_NOAGGREGATION;
        auto* const created = new (std::nothrow) Object;
        if (!created)
            return E_OUTOFMEMORY;
        const HRESULT result = created->QueryInterface(iid, object);
        created->Release();
        return result;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        if (lock)
            ComObjectCount::Add();
        else
            ComObjectCount::Remove();
        return S_OK;
    }
};

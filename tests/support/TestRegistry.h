#pragma once

#include <QList>
#include <QObject>

#include <functional>

// Test classes of one executable register themselves here; the shared main runs one class by name
// (as CTest does) or all of them.
namespace ZkTest {

struct Entry
{
    const char* name;
    std::function<QObject*()> make;
};

QList<Entry>& registry();

template <typename T>
struct Registrar
{
    explicit Registrar(const char* name)
    {
        registry().append({name, [] { return new T; }});
    }
};

} // namespace ZkTest

#define ZK_TEST_REGISTER(Class) static ZkTest::Registrar<Class> zkTestRegistrar_##Class(#Class);

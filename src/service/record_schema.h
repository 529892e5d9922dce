#pragma once

// A table of fields per record, built at compile time from member pointers. The streaming reader
// and the writer walk these tables with explicit stacks, so neither recurses with the data's depth.

#include "job_state.h"

#include <QList>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace brightloom::schema {

enum class Kind : std::uint8_t { String, Bool, Int, Object, StringArray, ObjectArray };

struct Record;

struct Field
{
    std::string_view key;
    Kind kind;
    bool required;
    const Record& (*nested)(); // Object and ObjectArray: the schema of the nested record

    // Reading.
    void (*clear)(void* record); // an optional field given as null
    void (*setString)(void* record, QString&& value);
    void (*setBool)(void* record, bool value);
    void (*setInt)(void* record, std::int64_t value);
    void* (*addObject)(void* record); // Object: make the nested record; ObjectArray: append one
    void (*addString)(void* record, QString&& value);
    void (*reset)(void* record); // StringArray and ObjectArray: empty again, for a key given twice

    // Writing.
    bool (*present)(const void* record);
    const QString& (*getString)(const void* record, std::size_t index);
    bool (*getBool)(const void* record);
    std::int64_t (*getInt)(const void* record);
    std::size_t (*count)(const void* record);
    const void* (*getObject)(const void* record, std::size_t index);
};

struct Record
{
    std::string_view name;
    std::span<const Field> fields;
};

template <class T> const Record& recordOf(); // specialised for every record in record_schemas.cpp

namespace detail {

template <class T> struct Optional : std::false_type
{
    using type = T;
};
template <class T> struct Optional<std::optional<T>> : std::true_type
{
    using type = T;
};

template <class T> struct ListOf
{
    using type = void;
};
template <class T> struct ListOf<QList<T>>
{
    using type = T;
};
template <class T> struct ListOf<std::vector<T>>
{
    using type = T;
};

template <class T> struct Shared : std::false_type
{
    using type = T;
};
template <class T> struct Shared<std::shared_ptr<const T>> : std::true_type
{
    using type = T;
};

template <class T> struct CodedText : std::false_type
{};
template <class E> struct CodedText<Coded<E>> : std::true_type
{};

template <auto Member> struct MemberInfo;
template <class R, class M, M R::*Member> struct MemberInfo<Member>
{
    using RecordType = R;
    using MemberType = M;
};

template <auto Member> auto& ref(void* record)
{
    using R = typename MemberInfo<Member>::RecordType;
    return static_cast<R*>(record)->*Member;
}
template <auto Member> const auto& cref(const void* record)
{
    using R = typename MemberInfo<Member>::RecordType;
    return static_cast<const R*>(record)->*Member;
}

template <class V, class M> V& value(M& member)
{
    if constexpr (Optional<M>::value) {
        if (!member)
            member.emplace();
        return *member;
    } else {
        return member;
    }
}
template <class M> const auto& cvalue(const M& member)
{
    if constexpr (Optional<M>::value)
        return *member;
    else
        return member;
}

} // namespace detail

// Describes one field; the kind and whether it is required follow from the member's C++ type.
template <auto Member> constexpr Field field(std::string_view key)
{
    using namespace detail;
    using M = typename MemberInfo<Member>::MemberType;
    using V = typename Optional<M>::type;
    using Element = typename ListOf<V>::type;

    Field f{};
    f.key = key;
    f.required = !Optional<M>::value;
    if constexpr (Optional<M>::value) {
        f.clear = [](void* r) { ref<Member>(r).reset(); };
        f.present = [](const void* r) { return cref<Member>(r).has_value(); };
    } else {
        f.clear = [](void*) {};
        f.present = [](const void*) { return true; };
    }

    if constexpr (CodedText<V>::value) {
        // A closed set of values, as text: read into the value it names, written back as it came.
        f.kind = Kind::String;
        f.setString = [](void* r, QString&& v) { value<V>(ref<Member>(r)) = V::fromText(std::move(v)); };
        f.getString = [](const void* r, std::size_t) -> const QString& {
            return cvalue(cref<Member>(r)).text();
        };
    } else if constexpr (std::is_same_v<V, QString>) {
        f.kind = Kind::String;
        f.setString = [](void* r, QString&& v) { value<QString>(ref<Member>(r)) = std::move(v); };
        f.getString = [](const void* r, std::size_t) -> const QString& { return cvalue(cref<Member>(r)); };
    } else if constexpr (std::is_same_v<V, bool>) {
        f.kind = Kind::Bool;
        f.setBool = [](void* r, bool v) { value<bool>(ref<Member>(r)) = v; };
        f.getBool = [](const void* r) { return bool(cvalue(cref<Member>(r))); };
    } else if constexpr (std::is_same_v<V, std::int64_t>) {
        f.kind = Kind::Int;
        f.setInt = [](void* r, std::int64_t v) { value<std::int64_t>(ref<Member>(r)) = v; };
        f.getInt = [](const void* r) { return std::int64_t(cvalue(cref<Member>(r))); };
    } else if constexpr (std::is_same_v<Element, QString>) {
        f.kind = Kind::StringArray;
        f.reset = [](void* r) { ref<Member>(r) = M{}; };
        f.addString = [](void* r, QString&& v) { value<V>(ref<Member>(r)).push_back(std::move(v)); };
        f.count = [](const void* r) { return std::size_t(cvalue(cref<Member>(r)).size()); };
        f.getString = [](const void* r, std::size_t i) -> const QString& {
            return cvalue(cref<Member>(r))[static_cast<qsizetype>(i)];
        };
    } else if constexpr (!std::is_void_v<Element>) {
        using Target = typename Shared<Element>::type;
        f.kind = Kind::ObjectArray;
        f.nested = &recordOf<Target>;
        f.reset = [](void* r) { ref<Member>(r) = M{}; };
        f.count = [](const void* r) { return std::size_t(cvalue(cref<Member>(r)).size()); };
        if constexpr (Shared<Element>::value) {
            f.addObject = [](void* r) -> void* {
                auto made = std::make_shared<Target>();
                Target* raw = made.get();
                value<V>(ref<Member>(r)).push_back(std::move(made));
                return raw;
            };
            f.getObject = [](const void* r, std::size_t i) -> const void* {
                return cvalue(cref<Member>(r))[i].get();
            };
        } else {
            f.addObject = [](void* r) -> void* {
                auto& list = value<V>(ref<Member>(r));
                list.push_back(Target{});
                return &list.back();
            };
            f.getObject = [](const void* r, std::size_t i) -> const void* {
                return &cvalue(cref<Member>(r))[static_cast<qsizetype>(i)];
            };
        }
    } else {
        f.kind = Kind::Object;
        f.nested = &recordOf<V>;
        f.addObject = [](void* r) -> void* {
            auto& member = ref<Member>(r);
            if constexpr (Optional<M>::value)
                member.emplace();
            else
                member = V{};
            return &value<V>(member);
        };
        f.getObject = [](const void* r, std::size_t) -> const void* { return &cvalue(cref<Member>(r)); };
    }
    return f;
}

} // namespace brightloom::schema

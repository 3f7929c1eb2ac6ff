#pragma once
#include "model/BasicType.h"

#include <QByteArray>

#include <map>
#include <memory>
#include <string_view>
#include <vector>

/// What an array holds, by index from 1, without the rules of the language: those are Array's.
///
/// There are four packings. An array begins with the one that its type asks for and changes it when its elements do not
/// fit it any more; it goes back only when it is emptied.
/// - Bytes, for CHAR: a string is one block of memory. Taking from its front, as a program does that cuts up what a
///   device has sent, only moves the beginning; what lies before it is given back once it is the larger part.
/// - Numbers, for the other numeric types: a double for each, brought into the range of the type when it is stored.
/// - Objects, for structures, devices and rows, and for numbers of which one is more than its value: it has a type of
///   its own, or is a constant. A position without an element is nullptr.
/// - Sparse: objects in a map, where an index lies far out (kDenseLimit) and far from all others. A slip in an index
///   of a program must not cost the memory in between.
///
/// A hole is a position below the highest that nothing was ever stored at. It reads as 0, but it is no element: it is
/// not counted, written or copied as one. Objects and Sparse just have none there. Packed numbers cannot say so and
/// have a list of holes beside them; as next to no program makes holes, the list is there only while there are some,
/// and prepared code that finds one goes the long way round.
class ElementStore
{
public:
    explicit ElementStore(int typeCode)
        : m_typeCode(typeCode)
        , m_packing(packingOf(typeCode))
    {}
    explicit ElementStore(std::string_view bytes); // of type CHAR
    ElementStore(ElementStore &&) = default;
    ElementStore &operator=(ElementStore &&) = default;
    ElementStore clone() const;

    bool isBytes() const { return m_packing == Packing::Bytes; }
    bool isNumbers() const { return m_packing == Packing::Numbers; }
    bool isPacked() const { return m_packing <= Packing::Numbers; }
    bool hasHoles() const { return m_holes != nullptr; }
    size_t size() const;         // but for Sparse: the highest index that is stored
    bool has(int index) const;   // an element is stored there
    bool isNear(int index) const // may be stored without a map
    {
        return index <= kDenseLimit || static_cast<size_t>(index) <= 2 * size();
    }

    // Packed numbers. The first two are for prepared code; false: go the long way round.
    bool packedNumber(int index, double &number) const
    {
        const auto offset = static_cast<size_t>(index) - 1;
        if (m_packing == Packing::Numbers && offset < m_numbers.size() && !m_holes) {
            number = m_numbers[offset];
            return true;
        }
        if (m_packing == Packing::Bytes && offset < m_bytes.size() - m_begin && !m_holes) {
            number = static_cast<quint8>(m_bytes[m_begin + offset]);
            return true;
        }
        return false;
    }
    bool setPackedNumber(int index, double number) // in any range
    {
        const auto offset = static_cast<size_t>(index) - 1;
        if (m_packing == Packing::Numbers && offset < m_numbers.size() && !m_holes) {
            m_numbers[offset] = normalised(m_typeCode, number);
            return true;
        }
        if (m_packing == Packing::Bytes && offset < m_bytes.size() - m_begin && !m_holes) {
            m_bytes[m_begin + offset] = static_cast<char>(integerPart(number));
            return true;
        }
        return false;
    }
    double number(int index) const;           // 0 in a hole and outside
    void setNumber(int index, double number); // index from 1 and near
    void makeNumber(int index);               // 0 where nothing was stored

    // Objects.
    BasicType *quickObject(int index) const // for prepared code; nullptr: go the long way round
    {
        const auto offset = static_cast<size_t>(index) - 1;
        return m_packing == Packing::Objects && offset < m_objects.size() ? m_objects[offset].get() : nullptr;
    }
    BasicType *object(int index) const; // nullptr: packed, or none is stored there
    void setObject(int index, std::unique_ptr<BasicType> value);
    void unpack(); // numbers become objects
    template <class Each>
    void forEachObject(Each each) const // that is stored
    {
        for (const auto &element : m_objects) {
            if (element) {
                each(*element);
            }
        }
        if (m_sparse) {
            for (const auto &[index, element] : *m_sparse) {
                each(*element);
            }
        }
    }
    void makeSparse();

    // Bytes.
    /// Of the elements 1 to length that are stored and numbers: the low 8 bits of each integer part. Borrowed where the
    /// store holds just these bytes, else built in hold.
    std::string_view bytes(int length, QByteArray &hold) const;
    bool overwriteBytes(std::string_view bytes);          // from 1 on; false: not possible with this packing
    bool appendBytes(int length, std::string_view bytes); // behind the length
    bool dropFront(int count);                            // packed numbers without holes

    /// The first count numbers of a source that has them all without holes. False: not possible with these packings.
    bool overwriteNumbers(const ElementStore &source, int count);

    void setType(int code); // and of every element
    void clear();           // back to the packing of the type
    void forgetNumbers();

private:
    enum class Packing : quint8 { Bytes, Numbers, Objects, Sparse };
    struct Holes
    {
        std::vector<bool> missing; // per stored element
        int count = 0;
    };
    using SparseElements = std::map<int, std::unique_ptr<BasicType>>;
    static constexpr int kDenseLimit = 1 << 20; // an index further out is dense only near what is stored

    static Packing packingOf(int typeCode);
    void clearPacked();
    void repack(int code);

    int m_typeCode;
    Packing m_packing;
    std::vector<char> m_bytes; // from m_begin on
    size_t m_begin = 0;
    std::vector<double> m_numbers;
    std::unique_ptr<Holes> m_holes; // of packed elements; nullptr: none is missing
    std::vector<std::unique_ptr<BasicType>> m_objects;
    std::unique_ptr<SparseElements> m_sparse; // set when the packing is Sparse
};

#pragma once

// Enumerations of the block model whose numbers callers test.

enum eBlockPinFunction : int {
    BlockPinFunctionNone = 0,
    BlockPinFunctionInput = 1,
    BlockPinFunctionOutput = 2
};

// Which run-time tasks an instance of a definition can take part in.
enum eRuntimeMembership : int {
    RuntimeMembershipAny = 0,
    RuntimeMembershipRealtime = 1,
    RuntimeMembershipBackground = 2,
    RuntimeMembershipBoth = 3,
    RuntimeMembershipNone = 4
};

// BlockInstance::blockType() and BlockDefinition::blockType().
enum eBlockType : int {
    BlockTypeOrdinary = 0,
    BlockTypeText = 1,
    BlockTypePin = 2,
    BlockTypeMagic = 3
};

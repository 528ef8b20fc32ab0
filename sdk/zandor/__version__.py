"""The SDK's version. The simulator recognises an SDK directory by this file."""

__version__ = "0.1.0"

import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
TOOL_DIR = os.path.join(ROOT, "tools", "quil_plot")
sys.path.insert(0, TOOL_DIR)

// The cells by neighbour.
#pragma once

class FaultHost;
class Matrix;

void RunLibraryCells(FaultHost& host, Matrix& matrix);
void RunCoreAgentCells(FaultHost& host, Matrix& matrix);
void RunDcbCells(FaultHost& host, Matrix& matrix);
void RunRegistryCells(FaultHost& host, Matrix& matrix);
void RunFileCells(FaultHost& host, Matrix& matrix);
void RunMemoryCells(FaultHost& host, Matrix& matrix);

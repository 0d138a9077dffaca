puts ok

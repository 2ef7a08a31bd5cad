-- three nested loops over local variables
function nested(n)
	local i, j, k, sum = 0, 0, 0, 0
	i = 0
	while i < n do
		j = 0
		while j < n do
			k = 0
			while k < n do
				sum = sum + (i * j) + k
				k = k + 1
			end
			j = j + 1
		end
		i = i + 1
	end
	return sum
end
print(nested(220))

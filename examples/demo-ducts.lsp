;;; The demo, last part: in the office drawing, diffusers in every room sized by the air it needs,
;;; the supply ductwork of both floors drawn by picks (each main first, branches landing on it so
;;; that it splits, on the upper floor a lower run along the east wall filleted to the main with a
;;; riser), the 3D model, the Project Explorer, the exports, and what a designer reads at the end.

(defun demo-title (text) (princ (strcat "\n\n== " text " ==")))
(defun demo-line (label value)
  (princ (strcat "\n  " label ": " (if (eq (type value) 'STR) value (vl-prin1-to-string value)))))
(defun demo-pick (p) (strcat "point " (rtos (car p) 2 3) "," (rtos (cadr p) 2 3)))
(defun demo-type (lines fn) (apply 'kvhost-input lines) (apply fn nil))
(defun demo-rows (sql) (kvdb-query (projectdb-currentFile) sql))

;; A point inside each room of the project: its label's corner, where the designer clicks.
(defun demo-roomPick (e) (car (kv_hvac-room-getLeaderPoints e)))
(setq demo-roomEnts (vl-sort (ssgetx-room) '(lambda (a b) (< (cdr (assoc 90 (entget a))) (cdr (assoc 90 (entget b)))))))

(demo-title "Diffusers")
(demo-type (append (mapcar '(lambda (e) (demo-pick (demo-roomPick e))) demo-roomEnts) '("enter")) c:kv-diffusers)

(demo-title "Supply ducts")
;; Each floor's main runs where the ceiling is free, its branches drop to the diffusers.
(defun demo-diffusers (west east)
  (mapcar '(lambda (x y) (list x y))
          (demo-rows (strcat "SELECT X FROM tblDiffL WHERE bDeleted = 0 AND X >= " (itoa west) " AND X < " (itoa east) " ORDER BY ixDiffL"))
          (demo-rows (strcat "SELECT Y FROM tblDiffL WHERE bDeleted = 0 AND X >= " (itoa west) " AND X < " (itoa east) " ORDER BY ixDiffL"))))
(defun demo-run (points) (demo-type (append (mapcar 'demo-pick points) '("enter")) c:kv-duct))
(defun demo-branches (mainY diffusers)
  (foreach d diffusers (demo-run (list (list (car d) mainY) d))))

(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 16.0) ("DEPTH" 10.0) ("Z1" 108.0) ("AIRFLOW" "sa")))
;; Ground floor: the main along the open office's north side, from the shaft at its west end,
;; feeds the open office; a second main leaves it at the west wall and runs above the offices'
;; wall to feed the three rooms on the south side.
(demo-run '((20 390) (580 390)))
(demo-run '((40 390) (40 175) (560 175)))
(demo-branches 175 (vl-remove-if-not '(lambda (d) (< (cadr d) 150)) (demo-diffusers 0 700)))
(demo-branches 390 (vl-remove-if '(lambda (d) (< (cadr d) 150)) (demo-diffusers 0 700)))
;; Upper floor: the main along the corridor wall; the break room's east run hangs lower, under a
;; beam, and is filleted to the main, which gives it a riser.
(demo-run '((820 200) (1300 200)))
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 12.0) ("DEPTH" 8.0) ("Z1" 96.0) ("AIRFLOW" "sa")))
(demo-run '((1380 250) (1380 400)))
(demo-type (list (demo-pick '(1200 200)) (demo-pick '(1380 320))) c:kv-fillet)
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 16.0) ("DEPTH" 10.0) ("Z1" 108.0) ("AIRFLOW" "sa")))
(demo-branches 200 (vl-remove-if '(lambda (d) (> (car d) 1370)) (demo-diffusers 700 2000)))

(demo-title "Model")
(c:kv-model)
(demo-title "Project Explorer")
(demo-type '("picture project-explorer.png" "click #1") c:kv-explorer)

;; The options and the diffuser blocks, looked at and left as they are.
(demo-type '("picture options.png" "click #2") c:kv-options)
(demo-type '("picture diffuser-blocks.png" "click #2") c:kv-diffBlocks)

(demo-title "Files")
(kvhost-save)
(foreach f '(("PNG" "office.png") ("SVG" "office.svg") ("PDF" "office.pdf") ("DXF" "office.dxf") ("STEP" "office.step"))
  (demo-type (list (strcat "text " (car f)) (strcat "text " (cadr f))) c:kv-export))

;; What the model's picture is drawn from, with the volumes the drawing holds to check it by.
(setq demo-volumes (kv_solid-volumes) demo-out (open "office-volumes.txt" "w"))
(write-line (itoa *export-hvac-bodies*) demo-out)
(foreach v demo-volumes (write-line (rtos v 2 6) demo-out))
(close demo-out)

(demo-title "Summary")
(demo-line "drawing" (getvar "DWGNAME"))
(demo-line "ducts" (length (ssgetx-duct)))
(foreach e demo-roomEnts
  (setq ix (cdr (assoc 90 (entget e))))
  (demo-line (car (demo-rows (strcat "SELECT sName FROM tblRoomL WHERE ixRoomL = " (itoa ix))))
             (strcat (rtos (/ (kv_hvac-room-getArea e) 144.0) 2 0) " ft2, "
                     (rtos (diffuser-hvac-roomTotal ix) 2 0) " cfm in "
                     (itoa (length (demo-rows (strcat "SELECT ixDiffL FROM tblDiffL WHERE bDeleted = 0 AND ixRoomL = " (itoa ix)))))
                     " diffuser(s) " (car (demo-rows (strcat "SELECT CALLOUT FROM tblDiffS WHERE ixDiffS = (SELECT ixDiffS FROM tblDiffL WHERE ixRoomL = " (itoa ix) " LIMIT 1)"))))))
(demo-line "supply air" (strcat (rtos (apply '+ (demo-rows "SELECT CFM FROM tblDiffL WHERE bDeleted = 0")) 2 0) " cfm"))
(demo-line "solids" (length (kv_solid-volumes)))
(princ "\n")
